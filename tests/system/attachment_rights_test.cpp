// SPDX-License-Identifier: Apache-2.0

// A file is attached only if everyone who could have put it there can read it, and all of them read
// the same file.

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/system/attaching.h"
#include "tests/system/local_users.h"
#include "tests/system/program.h"

namespace {

namespace fs = std::filesystem;

// Alice owns the mailbox.
class AttachmentRights : public Attaching {
  protected:
    void SetUp() override {
        Attaching::SetUp();
        if (!IsSkipped()) {
            give(kBox, alice(), 0755);
            give(kFiles, alice(), 0755);
        }
    }
};

// Links that lead on through other processes, and what the kernel shows to its administrator only.

TEST_F(AttachmentRights, LeadNowhereThroughTheRootOrDirectoryOfAnotherProcess) {
    write_text("/var/qmail/people/session", "readable, but not on this way");
    const std::string process = "/proc/" + std::to_string(getpid());
    link_as(alice(), process + "/root/var/qmail/people/session", "root");
    expect_unreadable("root");
    fs::current_path(kPeople);
    link_as(alice(), process + "/cwd/session", "cwd");
    expect_unreadable("cwd");
    link_as(alice(), process + "/root/var/qmail/people/nothing", "gone");
    expect_unreadable("gone");
    fs::current_path("/");
}

// The text of such a link may name another file than the one that the kernel opens.
TEST_F(AttachmentRights, ShowNoOtherFileThanTheOneThatWasJudged) {
    const std::string removed = std::string(kPeople) + "/removed";
    fs::create_directory(removed);
    give(removed, alice(), 0755);
    const pid_t holder = start_as(alice(), [&] {
        prctl(PR_SET_DUMPABLE, 1);
        write_text(removed + "/x", "removed");
        const int fd = open((removed + "/x").c_str(), O_RDONLY);
        fs::remove(removed + "/x");
        write_text(removed + "/x (deleted)", "of that name");
        fs::create_symlink("/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(fd),
                           in_files("x"));
        pause();
    });
    ASSERT_TRUE(soon([] { return fs::is_symlink(fs::symlink_status(in_files("x"))); }));
    expect_unreadable("x");
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
}

TEST_F(AttachmentRights, ShowNoMemoryOfAnotherProcess) {
    link_as(alice(), "/proc/" + std::to_string(getpid()) + "/maps", "maps");
    expect_unreadable("maps");
    link_as(alice(), "/proc/" + std::to_string(getpid()) + "/environ", "environ");
    expect_unreadable("environ");
}

TEST_F(AttachmentRights, ShowNothingOfTheProcessesThatLook) {
    for (const char* name : {"maps", "environ", "status"}) {
        link_as(alice(), std::string("/proc/self/") + name, name);
        expect_unreadable(name);
    }
}

TEST_F(AttachmentRights, ShowNoAddressOfTheKernel) {
    link_as(alice(), "/proc/kallsyms", "kallsyms");
    expect_unreadable("kallsyms");
}

TEST_F(AttachmentRights, HoldWhereRootKeepsItsCapabilitiesAsAnotherUser) {
    write_text("/var/qmail/people/of-root", "the password of root", 0600);
    link_as(alice(), "/var/qmail/people/of-root", "x");
    const Attached file =
        attached("x", {.path = "/usr/bin/setpriv",
                       .arguments = {"--securebits=+no_setuid_fixup", program_path()}});
    EXPECT_EQ(file.bytes, "");
    EXPECT_EQ(file.report, unreadable("x", kDenied));
}

// Groups.

TEST_F(AttachmentRights, OfTheMailboxesGroupAreNotItsOwners) {
    const std::string mail = private_file(bob(), "mail for bob", 0660);
    give(mail, bob().id, kMailGroup, 0660);
    link_as(alice(), mail, "x");
    give(kBox, alice().id, kMailGroup, 0755);
    give(kFiles, alice().id, kMailGroup, 0755);
    expect_unreadable("x");
    give(mail, 0, kMailGroup, 0640);
    expect_unreadable("x");
}

TEST_F(AttachmentRights, OfAGroupThatADirectoryHandsDownAreNotTheWriters) {
    const std::string mail = private_file(bob(), "mail for bob", 0660);
    give(mail, bob().id, kMailGroup, 0660);
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, kMailGroup, 03777);
    link_as(alice(), mail, "x");
    run_as(alice(), [] {
        fs::create_directory(in_files("sub"));
        fs::create_symlink("../x", in_files("sub/x"));
    });
    expect_unreadable("x");
    expect_unreadable("sub/x");
}

TEST_F(AttachmentRights, OfGroupsThatTheSystemGivesTheOwnerCount) {
    write_text("/var/qmail/people/staff", "for the staff");
    give("/var/qmail/people/staff", 0, kStaff, 0640);
    give(kFiles, bob(), 0755);
    link_as(bob(), "/var/qmail/people/staff", "x");
    expect_unreadable("x");  // Alice could have put it there, too: the mailbox is hers
    give(kBox, carol(), 0755);
    expect_attached("x", "for the staff");
}

TEST_F(AttachmentRights, OfAUserWithoutAnEntryInTheSystemsDatabaseAreThoseOfNoGroup) {
    constexpr unsigned unknown = 5999;
    write_text(in_files("open"), "open");
    write_text(in_files("of-group"), "of a group");
    for (const char* path : {kBox, kFiles}) {
        give(path, unknown, unknown, 0755);
    }
    give(in_files("open"), unknown, unknown, 0600);
    give(in_files("of-group"), 0, unknown, 0640);
    expect_attached("open", "open");
    expect_unreadable("of-group");
}

// Several hands.

TEST_F(AttachmentRights, OfTheTreesOwnerAreNotThoseOfTheRepositorys) {
    for (const char* path : {kMailNames, kDomain, kBox}) {
        give(path, popuser(), 0755);
    }
    link_as(alice(), private_file(popuser(), "mail of everybody"), "x");
    expect_unreadable("x");
}

TEST_F(AttachmentRights, OfAllWhoHaveAHandInThePathAreNeeded) {
    run_as(alice(), [] { fs::create_directory(in_files("sub")); });
    give(in_files("sub"), bob(), 0755);
    write_text(in_files("sub/x"), "text");
    give(in_files("sub/x"), bob().id, alice().group, 0640);
    expect_attached("sub/x", "text");
    give(in_files("sub/x"), bob(), 0600);
    expect_unreadable("sub/x");
    give(in_files("sub/x"), alice(), 0600);
    expect_unreadable("sub/x");
    give(in_files("sub/x"), bob().id, alice().group, 0604);
    expect_unreadable("sub/x");
}

TEST_F(AttachmentRights, OfTheOwnersOfWhatALinkLeadsToAreNeeded) {
    link_as(alice(), private_file(bob(), "for everybody", 0644), "x");
    expect_attached("x", "for everybody");
    // Bob cannot get there through Alice's mailbox.
    give(kBox, alice(), 0700);
    expect_unreadable("x");
}

TEST_F(AttachmentRights, OfWhoeverMayWriteToADirectoryOfRootsAreThoseOfItsGroup) {
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, kMailGroup, 0775);
    write_text(in_files("x"), "for the group");
    give(in_files("x"), 0, kMailGroup, 0640);
    expect_attached("x", "for the group");
    give(in_files("x"), 0, 0, 0600);
    expect_unreadable("x");
    give(in_files("x"), 0, kMailGroup, 0640);
    give(kFiles, 0, kMailGroup, 0777);
    expect_unreadable("x");  // anybody could have put it there
}

TEST_F(AttachmentRights, AreNeededForWhatLiesBehindALinkOfRootsToo) {
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, 0, 0755);
    const std::string mail = private_file(bob(), "Bob's terms");
    fs::create_symlink(mail, in_files("x"));
    expect_attached("x", "Bob's terms");
    run_as(bob(), [&] {
        fs::remove(mail);
        fs::create_symlink("/etc/tva/.tva.shadow", mail);
    });
    expect_unreadable("x");
}

// Nobody gets another's file by exchanging what is judged for what is opened.

TEST_F(AttachmentRights, HoldWhenTheFileIsExchangedForALinkAtTheSameTime) {
    const char* rounds = std::getenv("EXCHANGE_ROUNDS");
    const std::string secret = private_file(bob(), "mail for bob");
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, 0, 0777);
    run_as(bob(), [] { write_text(in_files("x"), "Bob's prices"); });
    link_as(alice(), secret, "link");
    const Doing exchange(alice(), [] {
        syscall(SYS_renameat2, AT_FDCWD, in_files("x").c_str(), AT_FDCWD, in_files("link").c_str(),
                2 /* RENAME_EXCHANGE */);
    });
    int leaked = 0;
    int attached_whole = 0;
    const int all = rounds != nullptr ? std::atoi(rounds) : kSanitized ? 20 : 100;
    for (int i = 0; i < all; ++i) {
        const Attached file = attached("x");
        leaked += file.bytes == "mail for bob" ? 1 : 0;
        attached_whole += file.bytes == "Bob's prices" ? 1 : 0;
    }
    std::printf("%d of %d rounds leaked, %d attached the file\n", leaked, all, attached_whole);
    EXPECT_EQ(leaked, 0);
}

// What is missing, and what cannot be read.

TEST_F(AttachmentRights, DoNotMakeAFileMissing) {
    write_text(in_files("x"), "text");
    give(in_files("x"), alice(), 0000);
    expect_unreadable("x");
    give(kBox, alice(), 0000);
    expect_unreadable("x");
}

TEST_F(AttachmentRights, TellWhatIsMissingFromWhatIsNot) {
    write_text(in_files("file"), "text");
    link_as(alice(), "nowhere", "dangling");
    link_as(alice(), "loop", "loop");
    link_as(alice(), "/var/qmail/nowhere/x", "far");
    for (const char* name : {"gone", "gone/x", "dangling", "loop", "far", "file/x", "file/"}) {
        expect_missing(name);
    }
    fs::create_symlink(std::string(300, 'x'), in_files("long"));
    expect_missing("long");
}

TEST_F(AttachmentRights, TellNothingAboutRootsPrivateDirectories) {
    fs::create_directory("/var/qmail/root");
    write_text("/var/qmail/root/there", "secret");
    fs::create_directory("/var/qmail/root/directory");
    give("/var/qmail/root", 0, 0, 0700);
    for (const char* name : {"there", "not-there", "directory", "there/x", "directory/x"}) {
        fs::remove(in_files("x"));
        link_as(alice(), "/var/qmail/root/" + std::string(name), "x");
        expect_unreadable("x");
    }
}

TEST_F(AttachmentRights, TellNothingAboutAnotherUsersPrivateDirectories) {
    const std::string home = fs::path(private_file(bob(), "secret", 0644)).parent_path();
    give(home, bob(), 0700);
    for (const char* name : {"private", "not-there"}) {
        fs::remove(in_files("x"));
        link_as(alice(), home + "/" + name, "x");
        expect_unreadable("x");
    }
}

TEST_F(AttachmentRights, OfRootAloneTellWhatIsMissingInRootsTree) {
    give(kBox, 0, 0, 0700);
    give(kFiles, 0, 0, 0700);
    expect_missing("gone");
    fs::create_symlink("/nowhere", in_files("dangling"));
    expect_missing("dangling");
}

// Whose mailboxes work, and go on working.

TEST_F(AttachmentRights, LetAMailSystemsUserHaveTheWholeTree) {
    for (const char* path : {kMailNames, kDomain, kBox, kFiles}) {
        give(path, popuser(), 0700);
    }
    write_text(in_files("x"), "of the mail system");
    give(in_files("x"), popuser(), 0600);
    expect_attached("x", "of the mail system");
    expect_missing("gone");
}

TEST_F(AttachmentRights, LetRootHaveTheWholeTree) {
    for (const char* path : {kMailNames, kDomain, kBox, kFiles}) {
        give(path, 0, 0, 0700);
    }
    write_text(in_files("x"), "of root", 0600);
    expect_attached("x", "of root");
    expect_missing("gone");
}

TEST_F(AttachmentRights, LetTheMailGroupWriteToRootsTree) {
    for (const char* path : {kMailNames, kDomain, kBox, kFiles}) {
        give(path, 0, kMailGroup, 0770);
    }
    write_text(in_files("x"), "of the mail group");
    give(in_files("x"), 0, kMailGroup, 0660);
    expect_attached("x", "of the mail group");
    give(in_files("x"), popuser(), 0660);
    expect_attached("x", "of the mail group");
    expect_missing("gone");
}

TEST_F(AttachmentRights, AreNotKeptFromThoseBelowRootsPrivateDirectories) {
    give(kMailNames, 0, 0, 0700);
    give(kDomain, 0, 0, 0700);
    give(kBox, alice(), 0700);
    give(kFiles, alice(), 0700);
    write_text(in_files("x"), "of alice");
    give(in_files("x"), alice(), 0600);
    expect_attached("x", "of alice");
    expect_missing("gone");
}

TEST_F(AttachmentRights, KeepAPrivateMailboxInTheMailSystemsTreeUnreadableAndNotMissing) {
    give(kMailNames, popuser(), 0755);
    give(kDomain, popuser(), 0755);
    give(kBox, alice(), 0700);
    write_text(in_files("x"), "of alice");
    give(in_files("x"), alice(), 0600);
    expect_unreadable("x");
    expect_missing("gone");
}

TEST_F(AttachmentRights, AreAskedOfARepositoryWhereItsOwnersReplaceFilesAllTheTime) {
    run_as(alice(), [] { write_text(in_files("x"), "whole"); });
    const Doing replacing(alice(), [] {
        write_text(in_files("new"), "whole");
        fs::rename(in_files("new"), in_files("x"));
        usleep(2000);
    });
    for (int i = 0; i < 20; ++i) {
        expect_attached("x", "whole");
    }
}

TEST_F(AttachmentRights, AreNotAskedOfMoreUsersThanAnybodyNeeds) {
    std::string path = kFiles;
    std::string name;
    for (unsigned i = 0; i < 20; ++i) {
        path += "/d";
        name += "d/";
        fs::create_directory(path);
        give(path, 6000 + i, 6000 + i, 0755);
    }
    write_text(path + "/x", "text");
    expect_unreadable(name + "x", "Too many users (87)");
}

}  // namespace
