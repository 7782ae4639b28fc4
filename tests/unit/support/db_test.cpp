// SPDX-License-Identifier: Apache-2.0

#include "support/db.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/db_handle.h"
#include "support/log.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::AdminPassword;
using testing_support::ConnectCall;
using testing_support::ConnectWatch;
using testing_support::error_name;
using testing_support::execute_as_root;
using testing_support::FaultyLibrary;
using testing_support::HiddenSocket;
using testing_support::LibraryFault;
using testing_support::MissingPasswordFile;
using testing_support::open_descriptors;
using testing_support::PasswordFile;
using testing_support::query;
using testing_support::query_as_root;
using testing_support::run_beside_world;
using tolva::db::ConnectionHandle;

using DbConnect = World;
using DbSessionSetUp = World;

using ConnectFunction = MYSQL* (*)(char* err, size_t size);

// The errno before an attempt: no reason may take it for its own.
constexpr int kOlderError = EXDEV;

struct Attempt {
    bool connected = false;
    std::string reason;
    int error = 0;
};

Attempt try_connect(ConnectFunction connect = tolva_db_connect) {
    std::array<char, 4097> reason{};
    errno = kOlderError;
    const ConnectionHandle connection(connect(reason.data(), reason.size()));
    const int error = errno;
    return {connection != nullptr, reason.data(), error};
}

ConnectionHandle connect() {
    std::array<char, 4097> reason{};
    ConnectionHandle connection(tolva_db_connect(reason.data(), reason.size()));
    if (connection == nullptr) {
        throw std::runtime_error(reason.data());
    }
    return connection;
}

std::string random_password() {
    return query_as_root("select md5(rand())");
}

TEST_F(DbConnect, ConnectsAsAdminToThePanelsDatabase) {
    for (ConnectFunction function : {tolva_db_connect_raw_ex, tolva_db_connect_raw,
                                     tolva_db_connect_ex, tolva_db_connect, db_connect_nothrow}) {
        std::array<char, 100> reason{};
        const ConnectionHandle connection(function(reason.data(), reason.size()));
        ASSERT_NE(connection, nullptr);
        EXPECT_STREQ(reason.data(), "");
        EXPECT_EQ(query(connection.get(), "select user()"), "admin@localhost");
        EXPECT_EQ(query(connection.get(), "select database()"), "tva");
    }
    const ConnectionHandle connection(db_connect());
    EXPECT_EQ(query(connection.get(), "select user()"), "admin@localhost");
}

TEST_F(DbConnect, ReportsAMissingPasswordFile) {
    const long before = open_descriptors();
    const MissingPasswordFile missing;
    const Attempt failed = try_connect();
    EXPECT_FALSE(failed.connected);
    EXPECT_EQ(failed.reason, "Unable to open admin password file: No such file or directory");
    EXPECT_EQ(failed.error, ENOENT);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(DbConnect, ReportsAPasswordFileThatCannotBeRead) {
    const long before = open_descriptors();
    const MissingPasswordFile missing;
    std::filesystem::create_directory("/etc/tva/.tva.shadow");
    const Attempt failed = try_connect();
    std::filesystem::remove("/etc/tva/.tva.shadow");
    EXPECT_FALSE(failed.connected);
    EXPECT_EQ(failed.reason, "Unable to read admin password file: Is a directory");
    EXPECT_EQ(failed.error, EISDIR);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(DbConnect, ReportsAnEmptyPasswordFileWithoutAnErrorOfTheSystem) {
    const PasswordFile empty("");
    const Attempt failed = try_connect();
    EXPECT_FALSE(failed.connected);
    EXPECT_EQ(failed.reason, "Unable to read admin password file: Success");
    EXPECT_EQ(failed.error, 0);
}

TEST_F(DbConnect, TakesAPasswordLineWithoutALineFeedAsItIs) {
    const std::string password = random_password();
    const AdminPassword changed(password);
    const PasswordFile file(password);
    EXPECT_EQ(try_connect().reason, "");
}

TEST_F(DbConnect, TakesTheFirstLineOnly) {
    const std::string password = random_password();
    const AdminPassword changed(password);
    const PasswordFile file(password + "\nsecond line\n");
    EXPECT_EQ(try_connect().reason, "");
}

TEST_F(DbConnect, KeepsACarriageReturnInThePassword) {
    const std::string password = random_password();
    const AdminPassword changed(password + "\r");
    const PasswordFile file(password + "\r\n");
    EXPECT_EQ(try_connect().reason, "");
    const AdminPassword without(password);
    EXPECT_FALSE(try_connect().connected);
}

TEST_F(DbConnect, TakesAtMost99CharactersOfThePasswordLine) {
    const std::string password(99, 'p');
    const AdminPassword changed(password);
    for (const char* rest : {"", "\n", "q", "qrstuvwxyz\n"}) {
        const PasswordFile file(password + rest);
        EXPECT_EQ(try_connect().reason, "");
    }
    const PasswordFile file(password.substr(1) + "\n");
    EXPECT_FALSE(try_connect().connected);
}

TEST_F(DbConnect, ReportsThatTheServerRefuses) {
    const PasswordFile file("wrong\n");
    const long before = open_descriptors();
    for (ConnectFunction function : {tolva_db_connect_raw_ex, tolva_db_connect_raw,
                                     tolva_db_connect_ex, tolva_db_connect, db_connect_nothrow}) {
        const Attempt failed = try_connect(function);
        EXPECT_FALSE(failed.connected);
        EXPECT_EQ(failed.reason,
                  "Unable to connect to Tolva Database: Access denied for user "
                  "'admin'@'localhost' (using password: YES)");
        EXPECT_EQ(failed.error, 0);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(DbConnect, AnEmptyFirstLineIsNoPassword) {
    const PasswordFile file("\n");
    EXPECT_EQ(try_connect().reason,
              "Unable to connect to Tolva Database: Access denied for user 'admin'@'localhost' "
              "(using password: NO)");
}

TEST_F(DbConnect, ReportsThatTheStructureCannotBeMade) {
    const FaultyLibrary library(LibraryFault::kInitialisation);
    const Attempt failed = try_connect();
    EXPECT_FALSE(failed.connected);
    EXPECT_EQ(failed.reason,
              "Unable to initialize MySQL connection structure: Cannot allocate memory");
    EXPECT_EQ(failed.error, ENOMEM);
}

TEST_F(DbConnect, CutsTheReasonToTheBuffer) {
    const PasswordFile file("wrong\n");
    std::array<char, 10> reason{};
    reason.back() = 'x';
    EXPECT_EQ(tolva_db_connect(reason.data(), reason.size() - 1), nullptr);
    EXPECT_STREQ(reason.data(), "Unable t");
    EXPECT_EQ(reason.back(), 'x');
    EXPECT_EQ(tolva_db_connect(reason.data(), 1), nullptr);
    EXPECT_STREQ(reason.data(), "");
}

TEST_F(DbConnect, TakesABufferOfNoSize) {
    const PasswordFile file("wrong\n");
    EXPECT_EQ(tolva_db_connect(nullptr, 0), nullptr);
    const PasswordFile empty("");
    EXPECT_EQ(tolva_db_connect(nullptr, 0), nullptr);
    database().allow_statements(1);
    EXPECT_EQ(tolva_db_connect(nullptr, 0), nullptr);
}

TEST_F(DbConnect, WaitsALimitedTime) {
    const ConnectionHandle connection = connect();
    unsigned int seconds = 0;
    EXPECT_EQ(mysql_get_option(connection.get(), MYSQL_OPT_CONNECT_TIMEOUT, &seconds), 0);
    EXPECT_EQ(seconds, 30U);
    EXPECT_EQ(mysql_get_option(connection.get(), MYSQL_OPT_READ_TIMEOUT, &seconds), 0);
    EXPECT_EQ(seconds, 300U);
    EXPECT_EQ(mysql_get_option(connection.get(), MYSQL_OPT_WRITE_TIMEOUT, &seconds), 0);
    EXPECT_EQ(seconds, 300U);
}

TEST_F(DbConnect, DoesNotConnectAgainByItself) {
    const ConnectionHandle connection = connect();
    execute_as_root("kill " + query(connection.get(), "select connection_id()"));
    EXPECT_NE(mysql_query(connection.get(), "do 1"), 0);
    EXPECT_NE(mysql_query(connection.get(), "do 1"), 0);
}

TEST_F(DbConnect, TheServerCannotAskForLocalFiles) {
    const ConnectionHandle connection = connect();
    // A table that the user may insert into.
    EXPECT_NE(mysql_query(connection.get(),
                          "load data local infile '/etc/passwd' into table resp_freq (email)"),
              0);
    EXPECT_EQ(query(connection.get(), "select count(*) from resp_freq"), "0");
}

TEST_F(DbSessionSetUp, LeavesForeignKeysUnchecked) {
    EXPECT_EQ(query(connect().get(), "select @@foreign_key_checks"), "0");
}

TEST_F(DbSessionSetUp, IsInBinaryModeWithAndWithoutTheSetting) {
    EXPECT_EQ(query(connect().get(), "select @@character_set_client"), "binary");
    for (const char* value : {"''", "'false'", "'true'", "null"}) {
        execute_as_root(std::string("replace into misc values('mysql41_compatible', ") + value +
                        ")");
        const ConnectionHandle connection = connect();
        EXPECT_EQ(query(connection.get(), "select @@character_set_client"), "binary") << value;
        EXPECT_EQ(query(connection.get(), "select @@character_set_results"), "binary") << value;
        EXPECT_EQ(tolva_db_mysql41_compatible_raw(), 0) << value;
    }
}

TEST_F(DbSessionSetUp, ARawConnectionIsLeftAsTheServerGivesIt) {
    std::array<char, 100> reason{};
    const ConnectionHandle connection(tolva_db_connect_raw(reason.data(), reason.size()));
    EXPECT_EQ(query(connection.get(), "select @@foreign_key_checks"), "1");
}

// Sets the session up against a server that fails at one step: no connection from
// tolva_db_connect, the connection as it is from tolva_db_connect_ex, the same text from both.
void expect_failed_step(const std::string& reason) {
    const long before = open_descriptors();
    const Attempt failed = try_connect(tolva_db_connect);
    EXPECT_FALSE(failed.connected);
    EXPECT_EQ(failed.reason, reason);
    EXPECT_EQ(failed.error, 0);
    execute_as_root("flush user_resources");
    const Attempt kept = try_connect(tolva_db_connect_ex);
    EXPECT_TRUE(kept.connected);
    EXPECT_EQ(kept.reason, reason);
    EXPECT_EQ(open_descriptors(), before);
}

std::string limit_reason(const char* step, int limit) {
    return std::string("DB error (") + step +
           ") 1226: User 'admin' has exceeded the 'max_queries_per_hour' resource (current "
           "value: " +
           std::to_string(limit) + ")";
}

TEST_F(DbSessionSetUp, ReportsAFailedQueryOfTheVersion) {
    database().allow_statements(1);
    expect_failed_step(limit_reason("query version", 1));
}

TEST_F(DbSessionSetUp, ReportsAFailedQueryOfTheSetting) {
    lose_table("misc");
    expect_failed_step("DB error (mysql41 compatible query) 1146: Table 'tva.misc' doesn't exist");
}

TEST_F(DbSessionSetUp, ReportsAFailedQueryOfTheSettingAtALimit) {
    database().allow_statements(2);
    expect_failed_step(limit_reason("mysql41 compatible query", 2));
}

TEST_F(DbSessionSetUp, ReportsAFailedSetNames) {
    database().allow_statements(3);
    expect_failed_step(limit_reason("set names query", 3));
}

TEST_F(DbSessionSetUp, ReportsARowOfTheVersionThatCannotBeFetched) {
    const FaultyLibrary library(LibraryFault::kFailedRow);
    const Attempt failed = try_connect(tolva_db_connect);
    EXPECT_FALSE(failed.connected);
    EXPECT_TRUE(failed.reason.starts_with("DB error (fetch version row) 1064: ")) << failed.reason;
}

// Failures that leave no error number do not cost the connection.
TEST_F(DbSessionSetUp, ReportsAResultThatCannotBeStored) {
    for (const int nth : {1, 2}) {  // for the version, for the setting
        const FaultyLibrary library(LibraryFault::kNoResult, nth);
        const Attempt kept = try_connect(tolva_db_connect);
        EXPECT_TRUE(kept.connected);
        EXPECT_EQ(kept.reason, "DB error (store query result): unknown error");
    }
}

TEST_F(DbSessionSetUp, ReportsAResultThatFailsToBeStored) {
    for (const int nth : {1, 2}) {
        const FaultyLibrary library(LibraryFault::kFailedResult, nth);
        const Attempt failed = try_connect(tolva_db_connect);
        EXPECT_FALSE(failed.connected);
        EXPECT_TRUE(failed.reason.starts_with("DB error (store query result) 1064: "));
    }
}

TEST_F(DbSessionSetUp, ReportsAnEmptyResultForTheVersion) {
    const FaultyLibrary library(LibraryFault::kNoRow);
    const Attempt kept = try_connect(tolva_db_connect);
    EXPECT_TRUE(kept.connected);
    EXPECT_EQ(kept.reason, "DB error (empty version result): unknown error");
}

constexpr char kCharset[] = "select @@character_set_client";

ConnectionHandle connect_with(LibraryFault fault) {
    const FaultyLibrary library(fault);
    return connect();
}

TEST_F(DbSessionSetUp, IsInUtf8ModeWhereTheSettingComesAsASecondColumn) {
    const ConnectionHandle connection = connect_with(LibraryFault::kTwoColumns);
    EXPECT_EQ(tolva_db_mysql41_compatible_raw(), 1);
    const ConnectionHandle root = testing_support::connect_as_root();
    ASSERT_EQ(mysql_query(root.get(), "SET NAMES utf8"), 0);
    EXPECT_EQ(query(connection.get(), kCharset), query(root.get(), kCharset));
}

TEST_F(DbSessionSetUp, AServerBefore41IsSentNoCharset) {
    const ConnectionHandle raw(tolva_db_connect_raw(nullptr, 0));
    for (const LibraryFault version : {LibraryFault::kVersion40, LibraryFault::kNullVersion}) {
        connect_with(LibraryFault::kTwoColumns);
        ASSERT_EQ(tolva_db_mysql41_compatible_raw(), 1);
        database().sql("truncate table mysql.general_log");
        const ConnectionHandle connection = connect_with(version);
        EXPECT_EQ(tolva_db_mysql41_compatible_raw(), 0);
        EXPECT_EQ(query(connection.get(), kCharset), query(raw.get(), kCharset));
        const std::vector<Row> sent = database().sql(
            "select 1 from mysql.general_log where command_type = 'Query' and "
            "(argument like 'SET NAMES%' or argument like 'SELECT val%')");
        EXPECT_TRUE(sent.empty());
    }
}

TEST_F(DbConnect, RawReturnsNoConnectionThatReportsAnErrorNumber) {
    const FaultyLibrary library(LibraryFault::kConnectedWithError);
    const long before = open_descriptors();
    for (ConnectFunction function : {tolva_db_connect_raw, tolva_db_connect_ex}) {
        const Attempt failed = try_connect(function);
        EXPECT_FALSE(failed.connected);
        EXPECT_THAT(failed.reason, testing::StartsWith("Unable to connect to Tolva Database: You "
                                                       "have an error in your SQL syntax"));
        EXPECT_EQ(failed.error, 0);
    }
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_TRUE(try_connect(tolva_db_connect_raw_ex).connected);
}

TEST_F(DbConnect, PassesNoPortSocketOrFlags) {
    const ConnectWatch watch;
    EXPECT_TRUE(try_connect().connected);
    ASSERT_EQ(watch.calls().size(), 1U);
    const ConnectCall& call = watch.calls()[0];
    EXPECT_EQ(call.host, "localhost");
    EXPECT_EQ(call.user, "admin");
    EXPECT_EQ(call.database, "tva");
    EXPECT_EQ(call.port, 0U);
    EXPECT_EQ(call.socket, nullptr);
    EXPECT_EQ(call.flags, 0U);
}

// A limit of the server, lifted at the end.
class SessionLimit {
  public:
    SessionLimit(const std::string& limit, std::string lift) : lift_(std::move(lift)) {
        execute_as_root(limit);
    }
    SessionLimit(const SessionLimit&) = delete;
    SessionLimit& operator=(const SessionLimit&) = delete;
    ~SessionLimit() { execute_as_root(lift_); }

  private:
    std::string lift_;
};

TEST_F(DbConnect, TriesAgainWhileTheUserHasTooManySessions) {
    const std::string grant = "grant usage on *.* to admin@localhost with max_user_connections ";
    const SessionLimit limit(grant + "1", grant + "0");
    ConnectionHandle held = connect();
    const ConnectWatch watch([&held] { held.reset(); });
    const Attempt made = try_connect();
    EXPECT_TRUE(made.connected);
    EXPECT_EQ(made.reason, "");
    EXPECT_GT(watch.calls().size(), 1U);
}

TEST_F(DbConnect, TriesAgainWhileTheServerHasTooManySessions) {
    const SessionLimit limit(
        "set global max_connections = 10",
        "set global max_connections = " + query_as_root("select @@max_connections"));
    // The world's own session is one of them.
    const auto sessions = [] {
        return database().sql("show status like 'Threads_connected'")[0][1];
    };
    ASSERT_TRUE(soon([&sessions] { return sessions() == "1"; })) << sessions().value();
    std::vector<ConnectionHandle> held;
    std::generate_n(std::back_inserter(held), 9, testing_support::connect_as_root);
    const ConnectWatch watch([&held] { held.clear(); });
    const Attempt made = try_connect();
    EXPECT_TRUE(made.connected);
    EXPECT_EQ(made.reason, "");
    EXPECT_GT(watch.calls().size(), 1U);
}

TEST_F(DbConnect, TriesAgainWhileThereIsNoServer) {
    const HiddenSocket hidden;
    const ConnectWatch watch([&hidden] { hidden.show(); });
    const Attempt made = try_connect();
    EXPECT_TRUE(made.connected);
    EXPECT_EQ(made.reason, "");
    EXPECT_EQ(watch.calls().size(), 2U);
}

TEST_F(DbConnect, WaitsNoLongerThanPatienceLastsAfterARefusal) {
    const HiddenSocket hidden;
    const ConnectWatch watch([&hidden] { hidden.show(); });
    const ConnectionHandle connection = connect();
    unsigned int seconds = 0;
    EXPECT_EQ(mysql_get_option(connection.get(), MYSQL_OPT_CONNECT_TIMEOUT, &seconds), 0);
    EXPECT_LE(seconds, 5U);
}

TEST_F(DbConnect, TriesOnceWhereTheServerRefusesForGood) {
    {
        const PasswordFile file("wrong\n");
        const ConnectWatch watch;
        EXPECT_FALSE(try_connect().connected);
        EXPECT_EQ(watch.calls().size(), 1U);
    }
    const SessionLimit limit("alter user admin@localhost account lock",
                             "alter user admin@localhost account unlock");
    const ConnectWatch watch;
    EXPECT_EQ(try_connect().reason,
              "Unable to connect to Tolva Database: Access denied, this account is locked");
    EXPECT_EQ(watch.calls().size(), 1U);
}

TEST_F(DbSessionSetUp, IsMadeAgainWhereTheSessionIsLost) {
    const FaultyLibrary library(LibraryFault::kLostSession, 1, 2);
    const ConnectWatch watch;
    const long before = open_descriptors();
    const Attempt made = try_connect();
    EXPECT_TRUE(made.connected);
    EXPECT_EQ(made.reason, "");
    EXPECT_EQ(watch.calls().size(), 3U);
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(DbSessionSetUp, ASessionThatIsAlwaysLostIsReported) {
    const FaultyLibrary library(LibraryFault::kLostSession);
    const ConnectWatch watch;
    const Attempt failed = try_connect();
    EXPECT_FALSE(failed.connected);
    EXPECT_THAT(failed.reason, testing::StartsWith("DB error (query version) "));
    EXPECT_EQ(failed.error, 0);
    EXPECT_GT(watch.calls().size(), 3U);
}

TEST_F(DbConnect, LogsTheReasonOfAFailure) {
    const ChildRun run = run_beside_world([] {
        PROGNAME = "/usr/bin/tool";
        const PasswordFile file("wrong\n");
        note("connected:", db_connect() != nullptr);
    });
    EXPECT_EQ(run.noted, "connected: false\n");
    EXPECT_EQ(run.err,
              "tool: Unable to connect to Tolva Database: Access denied for user "
              "'admin'@'localhost' (using password: YES)\n");
    EXPECT_EQ(run.out, run.err);
}

TEST_F(DbConnect, LogsAFailureOfTheSystemWithItsNumber) {
    const MissingPasswordFile missing;
    const ChildRun run = run_beside_world([] {
        const bool connected = db_connect() != nullptr;
        note("connected:", connected, error_name());
    });
    EXPECT_EQ(run.noted, "connected: false ENOENT\n");
    EXPECT_EQ(run.err,
              "Unable to open admin password file: No such file or directory\n"
              "System error 2: No such file or directory\n");
}

// These begin in a process where nothing of the database has been called yet, and tell on its
// standard error what they saw there.
template <class Fixture>
class FreshProcess : public Fixture {
  protected:
    FreshProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // At once: a connection is lost on purpose, which a sanitizer would find at exit(3).
    [[noreturn]] static void end(const std::string& seen) {
        std::fputs(seen.c_str(), stderr);
        _exit(0);
    }
};

using DbFreshProcess = FreshProcess<World>;
using DbFreshLibrary = FreshProcess<testing::Test>;

std::string modes_of_a_new_process() {
    std::string seen = std::to_string(tolva_db_mysql41_compatible_raw());
    const long before = open_descriptors();
    for (const int mode : {db_is_mysql41_compatible(), db_is_mysql41_compatible(),
                           tolva_db_mysql41_compatible_raw()}) {
        seen += " " + std::to_string(mode);
    }
    return seen + ", connections left open: " + std::to_string(open_descriptors() - before);
}

TEST_F(DbFreshProcess, TheModeIsUnknownUntilASessionIsSetUp) {
    EXPECT_EXIT(end(modes_of_a_new_process()), ::testing::ExitedWithCode(0),
                testing::Eq("-1 0 0 0, connections left open: 1"));
}

TEST_F(DbFreshProcess, TheModeStaysUnknownAfterAFailedSetUp) {
    database().allow_statements(2);
    EXPECT_EXIT(end("mode: " + std::to_string(db_is_mysql41_compatible())),
                ::testing::ExitedWithCode(0),
                testing::AllOf(testing::StartsWith("DB error (mysql41 compatible query) 1226"),
                               testing::EndsWith("mode: -1")));
}

std::string reason_without_server() {
    setenv("MYSQL_UNIX_PORT", "/no/such/socket", 1);
    return try_connect().reason;
}

TEST_F(DbFreshLibrary, AMissingServerIsReported) {
    EXPECT_EXIT(end(reason_without_server()), ::testing::ExitedWithCode(0),
                testing::Eq("Unable to connect to Tolva Database: Can't connect to local server "
                            "through socket '/no/such/socket' (2)"));
}

}  // namespace
