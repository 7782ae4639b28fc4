// SPDX-License-Identifier: Apache-2.0

#include "core/panel/database_session.h"

#include <sys/socket.h>

#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/db_handle.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/memory_limit.h"

namespace {

using namespace autoresponder;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::Optional;
using testing_support::kManyRows;
using testing_support::MemoryLimit;
using testing_support::run_beside_world;
using tolva::db::ConnectionHandle;

class OpenSession : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        session_.emplace(Session::open());
    }

    void end_session() {
        testing_support::execute_as_root("kill " +
                                         std::to_string(mysql_thread_id(session_->connection())));
    }

    // Sends the statement, and cuts the connection while the server is busy with it.
    QueryResult send_and_cut_off(const std::string& statement, Repeat repeat) {
        std::thread server([id = std::to_string(mysql_thread_id(session_->connection())),
                            socket = mysql_get_socket(session_->connection())] {
            const ConnectionHandle root = testing_support::connect_as_root();
            const std::string state =
                "select state from information_schema.processlist where id=" + id;
            EXPECT_TRUE(
                soon([&] { return testing_support::query(root.get(), state) == "User sleep"; }));
            shutdown(socket, SHUT_RDWR);
            testing_support::execute_as_root("kill " + id);
        });
        QueryResult result = session_->change(statement, repeat);
        server.join();
        return result;
    }

    // An expression that keeps the server busy in this session and in no other.
    [[nodiscard]] std::string long_in_this_session() const {
        return "sleep(if(connection_id()=" +
               std::to_string(mysql_thread_id(session_->connection())) + ", 60, 0))";
    }

    std::optional<Session> session_;
};

TEST_F(OpenSession, AQueryThatIsCutOffIsSentAgainInASessionThatIsSetUpAlike) {
    for (int i = 0; i < 2; ++i) {
        QueryResult rows = send_and_cut_off(
            "select @@foreign_key_checks, " + long_in_this_session(), Repeat::kAllowed);
        ASSERT_TRUE(rows.fetch()) << rows.reason();
        EXPECT_THAT(rows.column(0), Optional(std::string_view("0")));
    }
}

TEST_F(OpenSession, EverySessionThatTakesTheFirstOnesPlaceIsSetUpAlike) {
    for (int i = 0; i < 3; ++i) {
        end_session();
        QueryResult rows = session_->ask("select @@foreign_key_checks");
        ASSERT_TRUE(rows.fetch()) << rows.reason();
        EXPECT_THAT(rows.column(0), Optional(std::string_view("0")));
    }
}

TEST_F(OpenSession, AStatementThatMustNotBeRepeatedIsNotSentAgain) {
    const std::string insertion =
        "insert into resp_freq set rn_id=1, email='a@b.org', num=" + long_in_this_session();
    const QueryResult result = send_and_cut_off(insertion, Repeat::kForbidden);
    EXPECT_EQ(result.outcome(), QueryResult::Outcome::kRefused);
    EXPECT_THAT(statements(), ElementsAre(insertion));
}

TEST_F(OpenSession, NothingIsAskedOfAnyoneAfterRowsThatCouldNotBeRead) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    const ChildRun run = run_beside_world([] {
        Session own = Session::open();
        {
            const MemoryLimit limit;
            note(own.ask(kManyRows).reason());
        }
        note(own.ask("select 1").reason());
    });
    EXPECT_EQ(run.noted, "Client run out of memory\nServer has gone away\n");
    EXPECT_THAT(statements(), Not(Contains("select 1")));
}

}  // namespace
