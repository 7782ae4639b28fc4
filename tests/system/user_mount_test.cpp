// SPDX-License-Identifier: Apache-2.0

// File systems that a user has mounted and serves, and such as never answer.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/attaching.h"
#include "tests/system/fuse_daemon.h"
#include "tests/system/local_users.h"
#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::SizeIs;

// Seconds after which nobody would wait any more, however busy the machine is.
constexpr int kFarTooLong = 60;

constexpr const char* kTimedOut = "Connection timed out (110)";

// The repository of a mailbox of Alice's is a file system of hers, unless a test mounts another.
class UserMount : public Attaching {
  protected:
    void SetUp() override {
        Attaching::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (!FuseDaemon::is_possible()) {
            GTEST_SKIP() << "the kernel has no FUSE, or does not let it be mounted here";
        }
        give(kBox, alice(), 0755);
        give(kFiles, alice(), 0755);
        write_text("/var/qmail/people/of-root", "the password of root", 0600);
    }

    void TearDown() override {
        daemon_.reset();
        EXPECT_TRUE(soon([] { return !is_running(); })) << "a process was left";
    }

    void mount_tree(FuseTree tree) {
        daemon_.reset();
        daemon_ = std::make_unique<FuseDaemon>(kFiles, tree);
    }

    // What becomes of it while a process of the run may still hang in the file system; the time
    // that the run took, in seconds.
    double expect_given_up(const std::string& name, const std::string& bytes = "") {
        sql("delete from resp_attach");
        add_attachment(1, name);
        const auto begin = std::chrono::steady_clock::now();
        const Outcome outcome = answer(plain_message());
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(outcome.err, unreadable(name, kTimedOut));
        EXPECT_THAT(outcome.mails, SizeIs(1));
        if (!outcome.mails.empty()) {
            const ReadMail mail = read_mail(outcome.mails.back().message);
            EXPECT_THAT(mail.attachments, SizeIs(1));
            if (!mail.attachments.empty()) {
                EXPECT_EQ(mail.attachments[0].bytes.substr(0, 100), bytes);
            }
        }
        return taken.count();
    }

    std::unique_ptr<FuseDaemon> daemon_;
};

TEST_F(UserMount, HasNoPartInFilesThatItsLinksLeadToThoughItClaimsToBeRoots) {
    mount_tree({.mounted_by = alice().id, .target = "/var/qmail/people/of-root"});
    expect_unreadable("x");
    const std::string mail = private_file(bob(), "mail for bob");
    mount_tree({.mounted_by = alice().id, .owner = bob().id, .target = mail});
    expect_unreadable("x");
    mount_tree({.mounted_by = alice().id, .target = "/var/qmail/nowhere"});
    expect_missing("x");
}

TEST_F(UserMount, IsNobodysWhereRootsTreeContainsIt) {
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, 0, 0755);
    mount_tree({.mounted_by = alice().id, .target = "/var/qmail/people/of-root"});
    expect_unreadable("x");
}

TEST_F(UserMount, HasFilesAttachedThatNobodyMayRead) {
    mount_tree({.mounted_by = alice().id, .content = "of alice"});
    expect_attached("x", "of alice");
    expect_missing("gone");
}

TEST_F(UserMount, OfRootIsLikeAnyOtherFileSystem) {
    give(kBox, 0, 0, 0755);
    give(kFiles, 0, 0, 0755);
    mount_tree({.target = "/var/qmail/people/of-root"});
    expect_attached("x", "the password of root");
    mount_tree({.content = "of root"});
    expect_attached("x", "of root");
}

TEST_F(UserMount, OfRootMayRefuseRootWhatItAllowsTheOwner) {
    mount_tree({.owner = alice().id, .mode = 0700, .content = "of alice", .refuses_root = true});
    expect_attached("x", "of alice");
    expect_missing("gone");
    expect_missing("gone/x");
    // All of a tree on such a store.
    daemon_.reset();
    give(kFiles, alice(), 0755);
    daemon_ = std::make_unique<FuseDaemon>(
        kFiles,
        FuseTree{.owner = alice().id, .target = "/var/qmail/people/of-root", .refuses_root = true});
    expect_unreadable("x");
}

TEST_F(UserMount, ThatNeverAnswersALookUpHoldsTheRunForFiveSeconds) {
    mount_tree({.mounted_by = alice().id, .hangs_on_look_up = true});
    const double taken = expect_given_up("x");
    EXPECT_GE(taken, 4.9);
    EXPECT_LT(taken, kFarTooLong);
}

TEST_F(UserMount, HoldsTheRunOnceHoweverManyFilesItIsAskedFor) {
    mount_tree({.mounted_by = alice().id, .hangs_on_look_up = true});
    for (const char* name : {"x", "y", "z"}) {
        add_attachment(1, name);
    }
    add_responder(2);
    add_attachment(2, "x");
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = answer(plain_message());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(kFarTooLong));
    EXPECT_EQ(outcome.err, unreadable("x", kTimedOut) + unreadable("y", kTimedOut) +
                               unreadable("z", kTimedOut) + unreadable("x", kTimedOut));
    EXPECT_THAT(outcome.mails, SizeIs(2));
}

TEST_F(UserMount, ThatNeverAnswersARequestForBytesHoldsTheRunForFiveSeconds) {
    mount_tree({.mounted_by = alice().id, .content = "text", .hangs_on_read = true});
    const double taken = expect_given_up("x");
    EXPECT_GE(taken, 4.9);
    EXPECT_LT(taken, kFarTooLong);
}

TEST_F(UserMount, ThatStopsAnsweringHasWhatItDeliveredAttachedAndIsGivenTimeForIt) {
    mount_tree({.mounted_by = alice().id, .endless = true, .hangs_after_a_mebibyte = true});
    const double taken = expect_given_up("x", std::string(100, '\0'));
    EXPECT_GE(taken, 5.5);  // a second for each MB
    EXPECT_LT(taken, kFarTooLong);
}

TEST_F(UserMount, ThatNeverAnswersKeepsNoFileButItsOwnFromBeingAttached) {
    fs::create_directory(in_files("mount"));
    write_text(in_files("other"), "other");
    const FuseDaemon daemon(in_files("mount"),
                            {.mounted_by = alice().id, .content = "text", .hangs_on_read = true});
    add_attachment(1, "mount/x");
    add_attachment(1, "other");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, unreadable("mount/x", kTimedOut));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    const ReadMail mail = read_mail(outcome.mails[0].message);
    ASSERT_THAT(mail.attachments, SizeIs(2));
    EXPECT_EQ(mail.attachments[0].bytes, "");
    EXPECT_EQ(mail.attachments[1].bytes, "other");
}

TEST_F(UserMount, ThatNeverAnswersLeavesNoProcessButTheOneThatHangsInIt) {
    fs::create_directory(in_files("mount"));
    write_text(in_files("first"), "first");
    const FuseDaemon daemon(in_files("mount"),
                            {.mounted_by = alice().id, .hangs_on_look_up = true});
    add_attachment(1, "first");
    add_attachment(1, "mount/x");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.err, HasSubstr(unreadable("mount/x", kTimedOut)));
    EXPECT_TRUE(soon([] { return processes().size() <= 1; })) << "a process was left";
}

// The owner may stop a process that runs with the owner's rights.
TEST_F(UserMount, OrAProcessThatItsOwnerStopsHoldsTheRunForFiveSeconds) {
    write_text(in_files("x"), "text");
    add_attachment(1, "x");
    const Doing stopping(alice(), [] {
        for (const int process : processes()) {
            kill(process, SIGSTOP);
        }
    });
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = answer(plain_message());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(kFarTooLong));
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

}  // namespace
