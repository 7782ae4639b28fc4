// SPDX-License-Identifier: Apache-2.0

// What the owner of a mailbox, who is not root, can make the program give away: nothing but what
// the owner could read anyway.

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char* kSecretFile = "/var/qmail/secret";
constexpr const char* kSecret = "the password of root";
constexpr const char* kMailbox = "/var/qmail/mailnames/example.com/user";
constexpr const char* kRepository = "/var/qmail/mailnames/example.com/user/@attachments";

// Runs `work` as the mailbox's owner, in a process that has none of root's rights. Returns its exit
// status; `work` throws when it fails.
pid_t start_as_owner(const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        bool owner = setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
        try {
            if (owner) {
                work();
            }
        } catch (const std::exception& error) {
            std::fprintf(stderr, "the owner failed: %s\n", error.what());
            owner = false;
        }
        _exit(owner ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    return child;
}

void as_owner(const std::function<void()>& work) {
    int status = 0;
    ASSERT_NE(waitpid(start_as_owner(work), &status, 0), -1);
    ASSERT_EQ(status, 0);
}

void write(const std::string& path, std::string_view text) {
    std::ofstream file(path);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path);
    }
}

void set_mode(const std::string& path, mode_t mode) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0) << path;
}

// A mailbox whose directories belong to its owner, and a file that is root's alone.
class MailboxOwner : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        if (!nobody_exists()) {
            GTEST_SKIP() << "no user besides root";
        }
        add_responder(1);
        write_file(kSecretFile, kSecret);
        set_mode(kSecretFile, 0600);
        make_directory(kRepository);
        give_to_owner(kMailbox);
        give_to_owner(kRepository);
    }

    static void make_directory(const std::string& path) { fs::create_directories(path); }

    static void give_to_owner(const std::string& path) {
        ASSERT_EQ(lchown(path.c_str(), kNobody, kNobody), 0) << path;
    }

    // The only attachment of the reply, and what was reported.
    struct Attached {
        std::string bytes;
        std::string report;
    };

    Attached attached(const std::string& name) {
        add_attachment(1, name);
        const Outcome outcome = answer(plain_message());
        if (outcome.mails.size() != 1) {
            return {"(" + std::to_string(outcome.mails.size()) + " mails)", outcome.err};
        }
        EXPECT_THAT(outcome.mails[0].message, Not(HasSubstr(kSecret)));
        const ReadMail mail = read_mail(outcome.mails[0].message);
        return {mail.attachments.size() == 1 ? mail.attachments[0].bytes : "(no attachment)",
                outcome.err};
    }

    static std::string denied(const std::string& name) {
        return "autoresponder: Failed to read attachement file '" + std::string(kRepository) + "/" +
               name + "': Permission denied (13)\n";
    }

    void expect_attached(const std::string& name, const std::string& text) {
        const Attached file = attached(name);
        EXPECT_EQ(file.bytes, text);
        EXPECT_EQ(file.report, "");
    }

    void expect_denied(const std::string& name) {
        const Attached file = attached(name);
        EXPECT_EQ(file.bytes, "");
        EXPECT_EQ(file.report, denied(name));
    }
};

TEST_F(MailboxOwner, HasFilesAttachedThatNobodyElseMayRead) {
    as_owner([] {
        write(std::string(kRepository) + "/prices.txt", "1 EUR");
        chmod((std::string(kRepository) + "/prices.txt").c_str(), 0600);
        chmod(kRepository, 0700);
        chmod(kMailbox, 0700);
    });
    expect_attached("prices.txt", "1 EUR");
}

TEST_F(MailboxOwner, HasFilesInSubdirectoriesAttached) {
    as_owner([] {
        fs::create_directories(std::string(kRepository) + "/2026/spring");
        write(std::string(kRepository) + "/2026/spring/prices.txt", "2 EUR");
    });
    expect_attached("2026/spring/prices.txt", "2 EUR");
}

TEST_F(MailboxOwner, HasFilesAttachedThatTheOwnersLinksLeadTo) {
    as_owner([] {
        write(std::string(kMailbox) + "/elsewhere.txt", "3 EUR");
        fs::create_symlink("../elsewhere.txt", std::string(kRepository) + "/prices.txt");
    });
    expect_attached("prices.txt", "3 EUR");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByALinkInTheRepository) {
    as_owner([] { fs::create_symlink(kSecretFile, std::string(kRepository) + "/prices.txt"); });
    expect_denied("prices.txt");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByALinkToItsDirectory) {
    as_owner([] { fs::create_symlink("/var/qmail", std::string(kRepository) + "/sub"); });
    expect_denied("sub/secret");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByALinkInPlaceOfTheRepository) {
    as_owner([] {
        fs::remove(kRepository);
        fs::create_symlink("/var/qmail", kRepository);
    });
    expect_denied("secret");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByALinkInPlaceOfTheMailbox) {
    fs::remove_all(kMailbox);
    make_directory("/var/qmail/other/@attachments");
    write_file("/var/qmail/other/@attachments/secret", kSecret);
    set_mode("/var/qmail/other/@attachments/secret", 0600);
    fs::create_symlink("/var/qmail/other", kMailbox);
    give_to_owner(kMailbox);
    expect_denied("secret");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByALinkInASubdirectoryOfARepositoryOfRoots) {
    ASSERT_EQ(chown(kRepository, 0, 0), 0);
    ASSERT_EQ(chown(kMailbox, 0, 0), 0);
    make_directory(std::string(kRepository) + "/upload");
    give_to_owner(std::string(kRepository) + "/upload");
    as_owner([] { fs::create_symlink(kSecretFile, std::string(kRepository) + "/upload/x"); });
    expect_denied("upload/x");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsThroughALinkOfRootsToTheOwnersDirectory) {
    ASSERT_EQ(chown(kMailbox, 0, 0), 0);
    fs::remove_all(kRepository);
    make_directory("/var/qmail/home");
    give_to_owner("/var/qmail/home");
    fs::create_directory_symlink("/var/qmail/home/files", kRepository);
    as_owner([] {
        fs::create_directory("/var/qmail/home/real");
        fs::create_symlink(kSecretFile, "/var/qmail/home/real/x");
        fs::create_symlink("real", "/var/qmail/home/files");
    });
    expect_denied("x");
}

TEST_F(MailboxOwner, GetsNoFileThatIsPutIntoADirectoryOfRootsThatAnybodyMayWriteTo) {
    for (const mode_t mode : {0777U, 01777U, 0757U, 0775U}) {
        SetUp();
        ASSERT_EQ(chown(kMailbox, 0, 0), 0);
        ASSERT_EQ(chown(kRepository, 0, 0), 0);
        set_mode(kRepository, mode);
        // A hard link to a file of root's, which some kernels let anybody make.
        fs::create_hard_link(kSecretFile, std::string(kRepository) + "/x");
        expect_denied("x");
    }
}

TEST_F(MailboxOwner, GetsNoFileOfAGroupThatTheOwnerIsNoMemberOf) {
    set_mode(kSecretFile, 0640);
    ASSERT_EQ(chown(kMailbox, kNobody, 0), 0);
    ASSERT_EQ(chown(kRepository, kNobody, 0), 0);
    as_owner([] { fs::create_symlink(kSecretFile, std::string(kRepository) + "/x"); });
    expect_denied("x");
}

TEST_F(MailboxOwner, GetsNothingByANameThatLeadsOutOfTheRepository) {
    expect_denied("../../../../secret");
    sql("delete from resp_attach");
    expect_denied("sub/../../x");
    sql("delete from resp_attach");
    expect_denied("..");
    // Dots that are part of a name lead nowhere.
    sql("delete from resp_attach");
    as_owner([] { write(std::string(kRepository) + "/..prices..", "4 EUR"); });
    expect_attached("..prices..", "4 EUR");
}

TEST_F(MailboxOwner, CannotHaveAMissingFileTakenForOneThatIsThere) {
    as_owner([] { fs::create_symlink("/nowhere", std::string(kRepository) + "/x"); });
    add_attachment(1, "x");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.mails[0].message, HasSubstr("'example.com':\nx\n\n"));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(MailboxOwner, GetsNoFileOfRootsByChangingTheRepositoryAtTheSameTime) {
    add_attachment(1, "secret");
    as_owner([] {
        fs::create_directory(std::string(kMailbox) + "/real");
        write(std::string(kMailbox) + "/real/secret", "nothing secret");
        fs::create_symlink("/var/qmail", std::string(kMailbox) + "/link");
        fs::remove(kRepository);
        fs::create_symlink("real", kRepository);
    });
    const pid_t owner = start_as_owner([] {
        for (;;) {
            fs::rename(kRepository, std::string(kMailbox) + "/aside");
            fs::rename(std::string(kMailbox) + "/real", kRepository);
            fs::rename(kRepository, std::string(kMailbox) + "/real");
            fs::rename(std::string(kMailbox) + "/link", kRepository);
            fs::rename(kRepository, std::string(kMailbox) + "/link");
            fs::rename(std::string(kMailbox) + "/aside", kRepository);
        }
    });
    for (int i = 0; i < (kSanitized ? 15 : 60); ++i) {
        sql("delete from resp_freq");
        for (const Submission& mail : answer(plain_message()).mails) {
            for (const ReadAttachment& file : read_mail(mail.message).attachments) {
                EXPECT_NE(file.bytes, kSecret);
            }
        }
    }
    kill(owner, SIGKILL);
    waitpid(owner, nullptr, 0);
}

TEST_F(MailboxOwner, HasNoPartInFilesOfRootsInARepositoryOfRoots) {
    ASSERT_EQ(chown(kMailbox, 0, 0), 0);
    ASSERT_EQ(chown(kRepository, 0, 0), 0);
    write_file(std::string(kRepository) + "/terms.txt", "General terms");
    set_mode(std::string(kRepository) + "/terms.txt", 0600);
    expect_attached("terms.txt", "General terms");
}

TEST_F(MailboxOwner, HasNoPartInLinksOfRoots) {
    ASSERT_EQ(chown(kMailbox, 0, 0), 0);
    fs::remove_all(kRepository);
    make_directory("/var/qmail/common/files");
    write_file("/var/qmail/common/files/terms.txt", "Common terms");
    set_mode("/var/qmail/common/files/terms.txt", 0600);
    fs::create_directory_symlink("../../../common", kRepository);
    fs::create_symlink("/var/qmail/common/files/terms.txt", "/var/qmail/common/link.txt");
    expect_attached("files/terms.txt", "Common terms");
    sql("delete from resp_attach");
    expect_attached("link.txt", "Common terms");
}

TEST_F(MailboxOwner, MayOwnTheDirectoryOfAllMailboxes) {
    give_to_owner("/var/qmail/mailnames");
    give_to_owner("/var/qmail/mailnames/example.com");
    as_owner([] { write(std::string(kRepository) + "/prices.txt", "5 EUR"); });
    expect_attached("prices.txt", "5 EUR");
}

TEST_F(MailboxOwner, GetsNoFileOfRootsBelowADirectoryOfTheOwners) {
    // Whatever is below could be another directory of root's, moved there.
    ASSERT_EQ(chown(kMailbox, 0, 0), 0);
    ASSERT_EQ(chown(kRepository, 0, 0), 0);
    write_file(std::string(kRepository) + "/x", kSecret);
    set_mode(std::string(kRepository) + "/x", 0600);
    give_to_owner("/var/qmail/mailnames");
    expect_denied("x");
    sql("delete from resp_attach");
    ASSERT_EQ(chown("/var/qmail/mailnames", 0, 0), 0);
    fs::rename("/var/qmail/mailnames", "/var/qmail/real");
    fs::create_directory_symlink("real", "/var/qmail/mailnames");
    give_to_owner("/var/qmail/mailnames");
    expect_denied("x");
}

TEST_F(MailboxOwner, GetsNoFileOfAGroupThatTheProgramIsAMemberOf) {
    constexpr gid_t group = 4321;
    ASSERT_EQ(chown(kSecretFile, 0, group), 0);
    set_mode(kSecretFile, 0640);
    as_owner([] { fs::create_symlink(kSecretFile, std::string(kRepository) + "/x"); });
    add_attachment(1, "x");
    const Outcome outcome = run({.message = plain_message(), .groups = {0, group}});
    EXPECT_EQ(outcome.err, denied("x"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, Not(HasSubstr(kSecret)));
}

TEST_F(MailboxOwner, ChangesNothingForTheMailProgram) {
    as_owner([] { write(std::string(kRepository) + "/prices.txt", "6 EUR"); });
    add_attachment(1, "prices.txt");
    add_attachment(1, "gone.txt");
    const Outcome outcome = run({.message = plain_message(), .groups = {0, 4321}});
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.err, IsEmpty());
    for (const Submission& mail : outcome.mails) {
        EXPECT_EQ(mail.effective_user, 0U);
        EXPECT_EQ(mail.effective_group, 0U);
        EXPECT_THAT(mail.groups, ElementsAre(0U, 4321U));
    }
}

}  // namespace
