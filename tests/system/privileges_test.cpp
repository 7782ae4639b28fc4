// SPDX-License-Identifier: Apache-2.0

// The program as a set-user-ID one, started by somebody who is not root.

#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

class Privileges : public World {
  protected:
    void SetUp() override {
        if (!nobody_exists() || prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 0) {
            GTEST_SKIP() << "no user besides root, or no set-user-ID programs";
        }
        World::SetUp();
        add_responder(1);
        ASSERT_EQ(mount("run", "/run", "tmpfs", 0, "mode=755"), 0);
        covered_ = true;
    }

    void TearDown() override {
        if (covered_) {
            umount2("/run", MNT_DETACH);
        }
    }

    // The private server's socket appears where the client library looks for it on its own.
    void put_server_at(const std::string& path) {
        ASSERT_THAT(path, testing::StartsWith("/run/"));
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::filesystem::create_symlink(std::getenv("MYSQL_UNIX_PORT"), path);
    }

    // Where the client library looks for the server, from the report that there is none.
    static std::string socket_named_in(const std::string& report) {
        const std::size_t begin = report.find('\'', report.find("through socket ")) + 1;
        return report.substr(begin, report.find('\'', begin) - begin);
    }

    const Invocation started_by_nobody_ = {
        .message = plain_message(),
        .environment = {{"MARIADB_PLUGIN_DIR", "/world"}, {"LC_ALL", "C"}, {"IFS", "x"}},
        .set_user_id = true};

  private:
    bool covered_ = false;
};

TEST_F(Privileges, ASetUserIdProgramBecomesRootAndDropsItsCallersEnvironment) {
    Invocation invocation = started_by_nobody_;
    invocation.recipient = std::nullopt;
    invocation.environment["RESP_"] = "comes first";
    invocation.environment["RESP_RECIPIENT"] = "user@example.com";
    const Outcome without_server = run(invocation);
    EXPECT_THAT(without_server.err,
                testing::StartsWith("autoresponder: Unable to connect to Tolva Database: "));
    ASSERT_NO_FATAL_FAILURE(put_server_at(socket_named_in(without_server.err)));

    const Outcome outcome = run(invocation);
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    const Submission& mail = outcome.mails[0];
    EXPECT_EQ(mail.message, plain_reply());
    EXPECT_EQ(mail.real_user, 0U);
    EXPECT_EQ(mail.effective_user, 0U);
    EXPECT_EQ(mail.real_group, 0U);
    EXPECT_EQ(mail.effective_group, 0U);
    EXPECT_THAT(mail.environment, ElementsAre("RESP_RECIPIENT=user@example.com"));
}

TEST_F(Privileges, ASetUserIdProgramTakesTheEnvelopeSenderFromTheHeaderOnly) {
    write_file("/etc/tva/tva.conf", "AUTORESPONDER_ONLY_PEOPLE true\n");
    const std::string to_user = "To: user@example.com";
    Invocation invocation = started_by_nobody_;
    invocation.environment["SENDER"] = "sender@example.org";
    invocation.environment["RETURN_PATH"] = "sender@example.org";
    invocation.message = message_with({to_user, "Return-Path: <>"});
    EXPECT_EQ(run(invocation).err, "autoresponder: Not answered: empty envelope sender\n");

    invocation.environment["SENDER"] = "";
    invocation.message = message_with({to_user});
    const std::string without_server = run(invocation).err;
    ASSERT_NO_FATAL_FAILURE(put_server_at(socket_named_in(without_server)));
    const Outcome outcome = run(invocation);
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].environment, ElementsAre("RESP_RECIPIENT=user@example.com"));
}

TEST_F(Privileges, ASetUserIdProgramMissesARecipientThatIsNotSet) {
    Invocation invocation = started_by_nobody_;
    invocation.recipient = std::nullopt;
    EXPECT_EQ(run(invocation).err,
              "Could not get recipient e-mail address from RESP_RECIPIENT environment variable\n"
              "Abnormal exit.\n");
}

TEST_F(Privileges, AProgramStartedByRootHandsItsEnvironmentOn) {
    const Outcome outcome =
        run({.message = plain_message(), .environment = {{"QMAILINJECT", "s"}}});
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].environment, Contains("QMAILINJECT=s"));
    EXPECT_THAT(outcome.mails[0].environment, Contains("RESP_RECIPIENT=user@example.com"));
}

TEST_F(Privileges, ASetUserIdProgramIsRootBeforeItReadsTheMessage) {
    Invocation invocation = started_by_nobody_;
    invocation.hold_input_open = true;
    const std::vector<std::string> before = temporary_files();
    const auto program = start(invocation);
    ASSERT_TRUE(soon([&] { return temporary_files() != before; }));
    std::string users;
    for (const std::string& line :
         lines_of("/proc/" + std::to_string(program->pid()) + "/status")) {
        if (line.starts_with("Uid:")) {
            users = line;
        }
    }
    EXPECT_EQ(users, "Uid:\t0\t0\t0\t0");
    program->end_input();
    settle(*program, before);
}

TEST_F(Privileges, AProgramThatCannotBecomeRootKeepsItsIdentity) {
    Invocation invocation = started_by_nobody_;
    invocation.set_user_id = false;
    invocation.as_nobody = true;
    const Outcome outcome = run(invocation);
    EXPECT_THAT(outcome.err, testing::StartsWith("autoresponder: Unable to open admin password "
                                                 "file: Permission denied\n"));
    EXPECT_THAT(outcome.mails, testing::IsEmpty());
}

// Which socket the client library asks at is what the environment says, unless it is dropped.
class PrivilegesOfAGroup : public Privileges {
  protected:
    // The reason why a copy of the program with these permissions, of kNobody's group and started
    // by kNobody with a password that is wrong, finds no database.
    std::string reason_with(std::filesystem::perms permissions) {
        const char* const copy = "/run/autoresponder";
        std::filesystem::copy_file(program_path(), copy,
                                   std::filesystem::copy_options::overwrite_existing);
        EXPECT_EQ(chown(copy, 0, kNobody + 1), 0);
        std::filesystem::permissions(copy, permissions);
        write_file("/etc/tva/.tva.shadow", "wrong\n");
        std::filesystem::permissions("/etc/tva/.tva.shadow", std::filesystem::perms(0644));
        return run({.message = plain_message(), .as_nobody = true, .path = copy}).err;
    }
};

TEST_F(PrivilegesOfAGroup, DropTheCallersEnvironmentToo) {
    EXPECT_THAT(reason_with(std::filesystem::perms(0755)), testing::HasSubstr("Access denied"));
    if (kSanitized) {
        GTEST_SKIP() << "the leak checker fails in such a process and cannot be told to keep out";
    }
    EXPECT_THAT(reason_with(std::filesystem::perms(02755)),
                testing::HasSubstr("through socket '/run/"));
}

}  // namespace
