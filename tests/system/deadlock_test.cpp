// SPDX-License-Identifier: Apache-2.0

// Statements that the server rolls back for a deadlock.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kPurge =
    "delete from resp_freq where rn_id=1 and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0";
constexpr const char* kInsert =
    "insert into resp_freq set rn_id=1, email='sender@example.org', num=1";

class Deadlock : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1, "text='Gone fishing.', ans_freq='1'");
    }
    void TearDown() override {
        sql("drop trigger if exists refuse");
        sql("set global autocommit = on");
    }

    // From now on the server fails a connection's first `times` insertions into resp_freq.
    static void refuse_insertions(int times, int error, const std::string& state) {
        sql("create trigger refuse before insert on resp_freq for each row begin "
            "set @refused = ifnull(@refused, 0) + 1; if @refused <= " +
            std::to_string(times) + " then signal sqlstate '" + state + "' set mysql_errno = " +
            std::to_string(error) + ", message_text = 'Refused'; end if; end");
    }

    static std::size_t insertions() {
        const std::vector<std::string> sent = statements();
        return static_cast<std::size_t>(std::count(sent.begin(), sent.end(), kInsert));
    }
};

TEST_F(Deadlock, TheStatementIsSentAgain) {
    refuse_insertions(1, 1213, "40001");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(insertions(), 2U);
    EXPECT_THAT(sql("select email, num from resp_freq"),
                ElementsAre(ElementsAre("sender@example.org", "1")));
}

TEST_F(Deadlock, ThreeRepetitionsAreTheMost) {
    refuse_insertions(3, 1213, "40001");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    EXPECT_EQ(insertions(), 4U);

    SetUp();
    sql("drop trigger refuse");
    refuse_insertions(4, 1213, "40001");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "autoresponder: Unable to exec query :Refused\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(insertions(), 4U);
}

TEST_F(Deadlock, OtherFailuresAreNotRepeated) {
    const struct {
        int error;
        const char* state;
    } failures[] = {{1205, "HY000"},   // a lock that was not to be had in time
                    {1062, "23000"},   // a key that is there already
                    {1644, "40001"}};  // not a deadlock, whatever its state says
    for (const auto& failure : failures) {
        SCOPED_TRACE(failure.error);
        SetUp();
        sql("drop trigger if exists refuse");
        refuse_insertions(1, failure.error, failure.state);
        EXPECT_EQ(answer(plain_message()).err, "autoresponder: Unable to exec query :Refused\n");
        EXPECT_EQ(insertions(), 1U);
    }
}

TEST_F(Deadlock, WithoutAutocommitNothingIsRepeated) {
    sql("set global autocommit = off");
    refuse_insertions(1, 1213, "40001");
    EXPECT_EQ(answer(plain_message()).err, "autoresponder: Unable to exec query :Refused\n");
    EXPECT_EQ(insertions(), 1U);
}

TEST_F(Deadlock, OfTwoSessionsCostsNoReply) {
    sql("insert into resp_freq values (1, 'first@example.org', 1, now()), "
        "(1, 'second@example.org', 1, now())");
    // The purge locks the rows in order and comes to a stop before the second one. The other
    // session then wants the first, with more to lose, so that the server undoes the purge.
    Database other;
    other.sql("set transaction isolation level read committed");  // locks the row it changes only
    other.sql("begin");
    other.sql("update resp_freq set num=5 where email='second@example.org'");
    other.sql("insert into mail_aliases (mn_id, alias) select 1, seq from seq_1_to_100");
    const std::vector<std::string> before = temporary_files();
    const std::unique_ptr<Program> program = start({.message = plain_message()});
    ASSERT_TRUE(soon([] {
        return !sql("show global status where variable_name = 'Innodb_row_lock_current_waits' "
                    "and value > 0")
                    .empty();
    }));
    other.sql("update resp_freq set num=5 where email='first@example.org'");
    other.sql("commit");
    const Outcome outcome = settle(*program, before);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
    const std::vector<std::string> sent = statements();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), kPurge), 2);
}

}  // namespace
