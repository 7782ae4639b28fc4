// SPDX-License-Identifier: Apache-2.0

// autoresponderctl check: whether the autoresponder has everything that it needs.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::HasSubstr;

class Check : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        std::filesystem::create_directories("/var/qmail/mailnames");
    }

    // The lines that say what to do.
    static std::string to_do() {
        const Finished finished = control({.arguments = {"check"}});
        EXPECT_EQ(finished.err, "");
        std::string lines;
        std::istringstream out(finished.out);
        for (std::string line; std::getline(out, line);) {
            EXPECT_TRUE(line.starts_with("good  ") || line.starts_with("to do ")) << line;
            lines += line.starts_with("to do ") ? line + "\n" : "";
        }
        EXPECT_EQ(WEXITSTATUS(finished.status), lines.empty() ? 0 : 1);
        return lines;
    }
};

TEST_F(Check, IsGoodWhereAllIsThere) {
    EXPECT_EQ(to_do(), "");
    set_databytes("1000000");
    write_file("/etc/tva/tva.conf", "TOLVA_MAILNAMES_D /var/qmail/mailnames\n");
    EXPECT_EQ(to_do(), "");
}

TEST_F(Check, SaysWhatAndWhatFor) {
    const std::string out = control({.arguments = {"check"}}).out;
    EXPECT_THAT(out, HasSubstr("good  size limit    none: "));
    EXPECT_THAT(out, HasSubstr("good  mail_resp     has all columns\n"));
}

TEST_F(Check, FindsThatTheUserIsMissingThatMessagesAreReadAs) {
    EXPECT_THAT(control({.arguments = {"check"}}).out,
                HasSubstr("\ngood  reader        messages are read as _autoresponder"));
    const std::vector<std::string> users = lines_of("/etc/passwd");
    const auto write_users = [&users](const std::string& left_out) {
        std::string text;
        for (const std::string& user : users) {
            text += user.starts_with(left_out) ? "" : user + "\n";
        }
        write_file("/etc/passwd", text);
    };
    write_users("_autoresponder:");
    EXPECT_THAT(to_do(), testing::StartsWith(
                             "to do reader        add the system user _autoresponder, as the "
                             "package does: messages are read as nobody"));
    write_users("none");
    EXPECT_EQ(to_do(), "");
}

TEST_F(Check, SaysWhatTheKernelLacksToConfineTheProcessThatReads) {
    const auto reader = [](const Invocation& invocation) {
        std::istringstream out(control(invocation).out);
        std::string line;
        while (std::getline(out, line) && !line.starts_with("good  reader ")) {
        }
        return line;
    };
    const std::string read_so = "good  reader        messages are read as _autoresponder";
    EXPECT_EQ(reader({.hide_landlock = true, .hide_filters = true, .arguments = {"check"}}),
              read_so +
                  ", but the kernel cannot filter system calls (seccomp)"
                  " nor confine the access to files (Landlock)");
    EXPECT_THAT(reader({.hide_landlock = true, .arguments = {"check"}}),
                testing::EndsWith(" confine the access to files (Landlock)"));
}

TEST_F(Check, FindsDirectoriesAndFilesThatAreMissing) {
    std::filesystem::remove("/var/qmail/mailnames");
    EXPECT_THAT(to_do(),
                HasSubstr("to do mail names    make the directory /var/qmail/mailnames, or "
                          "set TOLVA_MAILNAMES_D: No such file or directory\n"));
    remove_mail_program();
    EXPECT_THAT(to_do(), HasSubstr("to do mail program  install one as /usr/sbin/sendmail: "));
    std::filesystem::remove("/etc/tva/.tva.shadow");
    EXPECT_THAT(to_do(), HasSubstr("to do password file put the password of the database user "));
    EXPECT_THAT(to_do(),
                HasSubstr("to do connection    see to the password file first: Unable to open "
                          "admin password file: No such file or directory\n"));
}

TEST_F(Check, FindsAMailProgramThatIsNotExecutable) {
    ASSERT_EQ(chmod("/usr/sbin/sendmail", 0600), 0);
    EXPECT_EQ(to_do(), "to do mail program  make /usr/sbin/sendmail executable\n");
}

TEST_F(Check, FindsAPasswordThatOthersCanRead) {
    ASSERT_EQ(chmod("/etc/tva/.tva.shadow", 0640), 0);
    EXPECT_EQ(to_do(), "to do password file chmod 0600 /etc/tva/.tva.shadow: its mode is 0640\n");
    ASSERT_EQ(chmod("/etc/tva/.tva.shadow", 0600), 0);
    if (nobody_exists()) {
        ASSERT_EQ(chown("/etc/tva/.tva.shadow", kNobody, 0), 0);
        EXPECT_EQ(to_do(),
                  "to do password file chown root /etc/tva/.tva.shadow: it belongs to "
                  "user 65534\n");
        ASSERT_EQ(chown("/etc/tva/.tva.shadow", 0, 0), 0);
    }
}

TEST_F(Check, FindsAPasswordThatIsNotTheRightOne) {
    write_file("/etc/tva/.tva.shadow", "");
    EXPECT_THAT(to_do(),
                AllOf(HasSubstr("it is empty\n"),
                      HasSubstr("to do connection    see to the password file first: Unable "
                                "to read admin password file: Success\n")));
    write_file("/etc/tva/.tva.shadow", right_password() + "\r\n");
    EXPECT_THAT(to_do(), HasSubstr("remove the carriage return"));
    write_file("/etc/tva/.tva.shadow", std::string(100, 'x') + "\n");
    EXPECT_THAT(to_do(), HasSubstr("choose a shorter password"));
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    EXPECT_THAT(to_do(), testing::MatchesRegex(
                             "to do connection    correct the password in the first line of "
                             "/etc/tva/.tva.shadow: Unable to connect to Tolva Database: "
                             "Access denied for user 'admin'@'localhost'[^\n]*\n"));
}

TEST_F(Check, FindsThatItMayNotReadThePassword) {
    if (!nobody_exists()) {
        GTEST_SKIP() << "there is no other user";
    }
    const Finished finished = control({.as_nobody = true, .arguments = {"check"}});
    EXPECT_THAT(finished.out,
                HasSubstr("to do password file run this as root, /etc/tva/.tva.shadow "
                          "cannot be read: Permission denied\n"));
}

TEST_F(Check, FindsADatabaseThatMayNotBeUsed) {
    const std::vector<Row> grants = sql("show grants for admin@localhost");
    sql("revoke all privileges, grant option from admin@localhost");
    const std::string found = to_do();
    for (const Row& grant : grants) {
        sql(grant.at(0).value());
    }
    EXPECT_THAT(found, testing::MatchesRegex("to do connection    grant admin its rights, for "
                                             "instance those of grants.sql: Unable to connect to "
                                             "Tolva Database: Access denied for user "
                                             "'admin'@'localhost' to database 'tva'\n"));
}

TEST_F(Check, FindsAServerThatIsNotThere) {
    const Finished finished =
        control({.environment = {{"MYSQL_UNIX_PORT", "/nowhere"}}, .arguments = {"check"}});
    EXPECT_THAT(finished.out,
                HasSubstr("to do connection    look at the database server: Unable to connect to "
                          "Tolva Database: Can't connect to local server through socket"));
}

TEST_F(Check, FindsASizeLimitThatIsNoNumber) {
    set_databytes("ten");
    EXPECT_THAT(to_do(), HasSubstr("to do size limit    write a number of bytes into "));
    set_databytes("0\n");
    EXPECT_EQ(to_do(), "");
}

TEST_F(Check, FindsATableThatIsMissing) {
    lose_table("resp_forward");
    EXPECT_THAT(to_do(), HasSubstr("to do resp_forward  create this table"));
}

TEST_F(Check, FindsAColumnThatIsMissing) {
    lose_table("clients");
    sql("create view clients as select id, login from clients_moved");
    EXPECT_THAT(to_do(),
                HasSubstr("to do clients       add the columns that are missing: pname, email\n"));
}

class CheckFrequencyTable : public Check {
  protected:
    void TearDown() override {
        sql("alter table resp_freq modify time_resp timestamp not null default current_timestamp");
        sql("alter table resp_freq modify email varchar(255) not null");
    }
};

TEST_F(CheckFrequencyTable, FindsATimeThatIsNotTakenByItself) {
    for (const char* type : {"timestamp null default null", "datetime not null",
                             "timestamp not null default '2001-01-01'", "date"}) {
        sql(std::string("alter table resp_freq modify time_resp ") + type);
        EXPECT_THAT(to_do(), HasSubstr("without it the daily limit lasts for ever\n")) << type;
    }
    for (const char* type :
         {"datetime default current_timestamp", "timestamp(6) default current_timestamp(6)"}) {
        sql(std::string("alter table resp_freq modify time_resp ") + type);
        EXPECT_EQ(to_do(), "") << type;
    }
}

TEST_F(CheckFrequencyTable, FindsAddressesThatAreCut) {
    sql("alter table resp_freq modify email varchar(100) not null");
    EXPECT_EQ(to_do(),
              "to do resp_freq     alter table resp_freq modify email varchar(255): it "
              "holds 100 characters, and longer addresses evade the daily limit\n");
    sql("alter table resp_freq modify email text");
    EXPECT_EQ(to_do(), "");
}

TEST_F(Check, FindsRightsThatAreMissing) {
    const std::string rights = "insert (rn_id, email, num), update (num), delete on tva.resp_freq";
    sql("revoke " + rights + " from admin@localhost");
    const std::string found = to_do();
    sql("grant " + rights + " to admin@localhost");
    EXPECT_THAT(found, HasSubstr("to do grants        grant to admin: delete on resp_freq, update "
                                 "on resp_freq, insert on resp_freq ("));
}

TEST_F(Check, FindsTooFewConnections) {
    const std::string before = sql("select @@global.max_connections").at(0).at(0).value();
    write_file("/var/qmail/control/concurrencylocal", "500\n");
    EXPECT_EQ(to_do(), "to do connections   raise max_connections of the database: " + before +
                           " connections for 500 local deliveries at once\n");
}

TEST_F(Check, ChangesNothing) {
    add_responder(1);
    sql("insert into resp_freq set rn_id=0, email='', num=1");
    control({.arguments = {"check"}});
    EXPECT_EQ(sql("select rn_id, email, num from resp_freq"), (std::vector<Row>{{"0", "", "1"}}));
}

}  // namespace
