// SPDX-License-Identifier: Apache-2.0

#include "support/db_handle.h"

#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

#include "support/db.h"
#include "support/db_params.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/memory_limit.h"

namespace {

using testing_support::kManyRows;
using testing_support::MemoryLimit;
using testing_support::run_beside_world;
using tolva::db::ConnectionHandle;
using tolva::db::store_result;

void note_statement(MYSQL* connection) {
    const int result = mysql_query(connection, "do 1");
    note(result == 0 ? "sent" : "refused:", mysql_error(connection));
}

class StoreResultWithoutMemory : public World {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
        }
        World::SetUp();
    }
};

constexpr unsigned kPatienceSeconds = 60;  // the next answer would be waited for much longer

TEST_F(StoreResultWithoutMemory, LeavesAConnectionOfWhichNothingMoreCanBeAsked) {
    const ChildRun run = run_beside_world([] {
        alarm(kPatienceSeconds);
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        note(mysql_query(own.get(), kManyRows));
        {
            const MemoryLimit limit;
            note("rows:", store_result(own.get()) != nullptr);
        }
        note(mysql_error(own.get()));
        note_statement(own.get());
        note_statement(own.get());
    });
    EXPECT_EQ(run.noted,
              "0\n"
              "rows: false\n"
              "Client run out of memory\n"
              "refused: Server has gone away\n"
              "refused: Server has gone away\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(StoreResultWithoutMemory, LeavesTheSameToTheGetFamily) {
    const ChildRun run = run_beside_world([] {
        alarm(kPatienceSeconds);
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        {
            const MemoryLimit limit;
            note("value:", get_param_query(kManyRows, own.get()) != nullptr);
        }
        note_statement(own.get());
    });
    EXPECT_EQ(run.noted, "value: false\nrefused: Server has gone away\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "Unable to query parameter by query " + std::string(kManyRows) +
                           ": Client run out of memory\n");
}

using StoreResult = World;

TEST_F(StoreResult, AnErrorThatTheServerSentLeavesTheConnectionUsable) {
    testing_support::execute_as_root("insert into misc values('name', 'value')");
    spoil_rows("misc");
    const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
    ASSERT_EQ(mysql_query(own.get(), "select val from misc"), 0);
    EXPECT_EQ(store_result(own.get()), nullptr);
    EXPECT_EQ(mysql_error(own.get()), kRowFailure);
    EXPECT_EQ(testing_support::query(own.get(), "select 'on'"), "on");
}

TEST_F(StoreResult, AStatementWithoutRowsLeavesTheConnectionUsable) {
    const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
    ASSERT_EQ(mysql_query(own.get(), "do 1"), 0);
    EXPECT_EQ(store_result(own.get()), nullptr);
    EXPECT_EQ(mysql_errno(own.get()), 0U);
    EXPECT_EQ(testing_support::query(own.get(), "select 'on'"), "on");
}

}  // namespace
