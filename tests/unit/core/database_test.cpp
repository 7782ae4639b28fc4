#include "core/database.h"

#include <sys/socket.h>

#include <string>
#include <string_view>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/db.h"
#include "tests/system/world.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/memory_limit.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::Optional;
using testing_support::kManyRows;
using testing_support::MemoryLimit;
using testing_support::run_beside_world;
using tolva::db::ConnectionHandle;

class SendStatement : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        connection_.reset(db_connect());
        ASSERT_NE(connection_, nullptr);
    }

    void end_session() {
        testing_support::execute_as_root("kill " +
                                         std::to_string(mysql_thread_id(connection_.get())));
    }

    // Sends the statement, and cuts the connection while the server is busy with it.
    QueryResult send_and_cut_off(const std::string& statement) {
        std::thread server([id = std::to_string(mysql_thread_id(connection_.get())),
                            socket = mysql_get_socket(connection_.get())] {
            const ConnectionHandle root = testing_support::connect_as_root();
            const std::string state =
                "select state from information_schema.processlist where id=" + id;
            EXPECT_TRUE(
                soon([&] { return testing_support::query(root.get(), state) == "User sleep"; }));
            shutdown(socket, SHUT_RDWR);
            testing_support::execute_as_root("kill " + id);
        });
        QueryResult result = send_statement(connection_.get(), statement);
        server.join();
        return result;
    }

    // An expression that keeps the server busy in this session and in no other.
    [[nodiscard]] std::string long_in_this_session() const {
        return "sleep(if(connection_id()=" + std::to_string(mysql_thread_id(connection_.get())) +
               ", 60, 0))";
    }

    ConnectionHandle connection_;
};

TEST_F(SendStatement, AQueryThatIsCutOffIsSentAgainInASessionThatIsSetUpAlike) {
    for (int i = 0; i < 2; ++i) {
        QueryResult rows =
            send_and_cut_off("select @@foreign_key_checks, " + long_in_this_session());
        ASSERT_TRUE(rows.fetch()) << rows.reason();
        EXPECT_THAT(rows.column(0), Optional(std::string_view("0")));
    }
}

TEST_F(SendStatement, EverySessionThatTakesTheFirstOnesPlaceIsSetUpAlike) {
    for (int i = 0; i < 3; ++i) {
        end_session();
        QueryResult rows = send_statement(connection_.get(), "select @@foreign_key_checks");
        ASSERT_TRUE(rows.fetch()) << rows.reason();
        EXPECT_THAT(rows.column(0), Optional(std::string_view("0")));
    }
}

TEST_F(SendStatement, AnInsertionThatIsCutOffIsNotSentAgain) {
    const std::string insertion =
        "insert into resp_freq set rn_id=1, email='a@b.org', num=" + long_in_this_session();
    const QueryResult result = send_and_cut_off(insertion);
    EXPECT_EQ(result.outcome(), QueryResult::Outcome::kRefused);
    EXPECT_THAT(statements(), ElementsAre(insertion));
}

TEST_F(SendStatement, NothingIsAskedOfAnyoneAfterRowsThatCouldNotBeRead) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(db_connect());
        {
            const MemoryLimit limit;
            note(send_statement(own.get(), kManyRows).reason());
        }
        note(send_statement(own.get(), "select 1").reason());
    });
    EXPECT_EQ(run.noted, "Client run out of memory\nServer has gone away\n");
    EXPECT_THAT(statements(), Not(Contains("select 1")));
}

}  // namespace
