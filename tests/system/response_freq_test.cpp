// SPDX-License-Identifier: Apache-2.0

// How often a responder answers one sender, and whom it remembers.

#include <cstddef>
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
constexpr const char* kCount = "select COUNT(*) from resp_freq where rn_id=1";
constexpr const char* kLookUp =
    "select num from resp_freq where rn_id=1 and email='sender@example.org'";
constexpr const char* kOldest = "select MIN(time_resp) from resp_freq where rn_id=1";
constexpr const char* kInsert =
    "insert into resp_freq set rn_id=1, email='sender@example.org', num=1";

class ResponseFreq : public World {
  protected:
    // The number of mails that a message from `sender` draws.
    std::size_t answers(const std::string& sender = "sender@example.org") {
        const Outcome outcome = answer("From: " + sender + "\nSubject: Hello\n\nHello\n");
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.size();
    }

    // The statements sent between the query for the responders and that for the forwards.
    static std::vector<std::string> limit_statements() {
        std::vector<std::string> sent = statements();
        sent.erase(sent.begin(), sent.begin() + 2);
        for (std::size_t i = 0; i < sent.size(); ++i) {
            if (sent[i].starts_with("select address from resp_forward")) {
                sent.resize(i);
            }
        }
        return sent;
    }

    static void remember(const std::string& email, int num, const std::string& when = "now()") {
        sql("insert into resp_freq set rn_id=1, email='" + email + "', num=" + std::to_string(num) +
            ", time_resp=" + when);
    }

    static std::vector<std::string> remembered() {
        std::vector<std::string> found;
        for (const Row& row : sql("select email, num from resp_freq order by email")) {
            found.push_back(row[0].value() + " " + row[1].value());
        }
        return found;
    }
};

TEST_F(ResponseFreq, AFirstAnswerIsRecorded) {
    add_responder(1);
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(limit_statements(), ElementsAre(kPurge, kCount, kLookUp, kInsert));
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
}

TEST_F(ResponseFreq, AFurtherAnswerIsCounted) {
    add_responder(1);
    remember("sender@example.org", 2);
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(limit_statements(), ElementsAre(kPurge, kCount, kLookUp,
                                                "update resp_freq set num=2+1 where rn_id=1 and "
                                                "email='sender@example.org'"));
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 3"));
}

TEST_F(ResponseFreq, WithoutAPositiveFrequencyNoAnswerIsEverGiven) {
    for (const char* frequency : {"0", "", "-1", "often"}) {
        SCOPED_TRACE(frequency);
        database().reset();
        SetUp();
        add_responder(1, "ans_freq='" + std::string(frequency) + "'");
        add_forward(1, "copy@example.net");
        remember("yesterday@example.org", 1, "now() - interval 1 day");
        EXPECT_EQ(answers(), 0U);
        EXPECT_THAT(limit_statements(), ElementsAre(kPurge));
        EXPECT_THAT(remembered(), IsEmpty());
    }
}

TEST_F(ResponseFreq, OnceADayMeansOnceADay) {
    add_responder(1, "ans_freq='1'");
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 0U);
    EXPECT_EQ(answers("other@example.org"), 1U);
    sql("update resp_freq set time_resp = time_resp - interval 1 day");
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 0U);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
}

TEST_F(ResponseFreq, ThreeADayEndsBeforeTheFourth) {
    add_responder(1, "ans_freq='3'");
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 0U);
    EXPECT_EQ(answers(), 0U);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 3"));
}

TEST_F(ResponseFreq, ARefusedAnswerForwardsNothing) {
    add_responder(1, "ans_freq='1'");
    add_forward(1, "copy@example.net");
    EXPECT_EQ(answers(), 2U);
    EXPECT_EQ(answers(), 0U);
}

TEST_F(ResponseFreq, ANumberWithTextAfterItCounts) {
    add_responder(1, "ans_freq='2 a day'");
    remember("sender@example.org", 1);
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 0U);
}

TEST_F(ResponseFreq, ANullNumberIsZero) {
    add_responder(1);
    sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=NULL");
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
}

TEST_F(ResponseFreq, EarlierDaysAreForgottenOfThisResponderOnly) {
    add_responder(1);
    remember("old@example.org", 5, "now() - interval 1 day");
    remember("older@example.org", 5, "now() - interval 40 day");
    sql("insert into resp_freq set rn_id=2, email='else@example.org', num=1, "
        "time_resp=now() - interval 1 day");
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(remembered(), ElementsAre("else@example.org 1", "sender@example.org 1"));
}

TEST_F(ResponseFreq, EachResponderCountsForItself) {
    add_responder(1, "ans_freq='1'");
    add_responder(2, "ans_freq='2'");
    EXPECT_EQ(answers(), 2U);
    EXPECT_EQ(answers(), 1U);
    EXPECT_EQ(answers(), 0U);
}

TEST_F(ResponseFreq, AFullMemoryForgetsTheOldest) {
    add_responder(1, "mem_limit='2'");
    remember("first@example.org", 1, "timestamp(current_date)");
    remember("second@example.org", 1);
    const std::string oldest = sql(kOldest).at(0)[0].value();
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(
        limit_statements(),
        ElementsAre(kPurge, kCount, kLookUp, kOldest,
                    "delete from resp_freq where rn_id=1 and time_resp='" + oldest + "'", kInsert));
    EXPECT_THAT(remembered(), ElementsAre("second@example.org 1", "sender@example.org 1"));
}

TEST_F(ResponseFreq, SendersOfTheSameOldestTimeAreForgottenTogether) {
    add_responder(1, "mem_limit='2'");
    remember("first@example.org", 1, "timestamp(current_date)");
    remember("second@example.org", 1, "timestamp(current_date)");
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
}

TEST_F(ResponseFreq, AMemoryWithRoomForgetsNobody) {
    add_responder(1, "mem_limit='3'");
    remember("first@example.org", 1, "timestamp(current_date)");
    remember("second@example.org", 1, "timestamp(current_date)");
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(remembered(), SizeIs(3));
}

TEST_F(ResponseFreq, WithoutMemoryEveryNewSenderEvicts) {
    for (const char* limit : {"0", "-5", "", "few"}) {
        SCOPED_TRACE(limit);
        SetUp();
        add_responder(1, "mem_limit='" + std::string(limit) + "'");
        EXPECT_EQ(answers(), 1U);
        EXPECT_THAT(limit_statements(),
                    ElementsAre(kPurge, kCount, kLookUp, kOldest,
                                "delete from resp_freq where rn_id=1 and time_resp='0'", kInsert));
        EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
    }
}

TEST_F(ResponseFreq, AKnownSenderEvictsNobody) {
    add_responder(1, "mem_limit='1'");
    remember("first@example.org", 1, "timestamp(current_date)");
    remember("sender@example.org", 1);
    EXPECT_EQ(answers(), 1U);
    EXPECT_THAT(remembered(), ElementsAre("first@example.org 1", "sender@example.org 2"));
}

TEST_F(ResponseFreq, AQuoteInTheSenderIsEscaped) {
    add_responder(1, "ans_freq='1'");
    EXPECT_EQ(answers("o'neil@example.org"), 1U);
    EXPECT_EQ(limit_statements().back(),
              "insert into resp_freq set rn_id=1, email='o\\'neil@example.org', num=1");
    EXPECT_EQ(answers("o'neil@example.org"), 0U);
    EXPECT_THAT(remembered(), ElementsAre("o'neil@example.org 1"));
}

TEST_F(ResponseFreq, EachStatementThatFailsEndsTheRun) {
    // What the database holds decides which statements are sent; the first that is refused is the
    // one whose place in the order is given.
    const struct {
        const char* statement;
        int place;
        bool known;
        bool full;
    } cases[] = {{"purge", 0, false, false},   {"count", 1, false, false},
                 {"look-up", 2, false, false}, {"update", 3, true, false},
                 {"oldest", 3, false, true},   {"evict", 4, false, true},
                 {"insert", 3, false, false},  {"insert after eviction", 5, false, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.statement);
        SetUp();
        add_responder(1, c.full ? "mem_limit='0'" : "mem_limit='10'");
        add_forward(1, "copy@example.net");
        if (c.known) {
            remember("sender@example.org", 1);
        }
        // Four statements for the session, one for the mailbox, one for its responders.
        const int allowed = 6 + c.place;
        database().allow_statements(allowed);
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err,
                  "autoresponder: Unable to exec query :User 'admin' has exceeded the "
                  "'max_queries_per_hour' resource (current value: " +
                      std::to_string(allowed) + ")\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(remembered(), SizeIs(c.known ? 1 : 0));
        // The server's log holds the refused one, too.
        EXPECT_THAT(statements(), SizeIs(2 + c.place + 1));
    }
}

TEST_F(ResponseFreq, RowsThatCannotBeReadCountAsNone) {
    // The purge reads the row of yesterday. The count fails, and so does the look-up: a sender that
    // cannot be looked up is added.
    add_responder(1);
    remember("yesterday@example.org", 5, "now() - interval 1 day");
    remember("sender@example.org", 5);
    spoil_rows("resp_freq", 1);
    const Outcome outcome = answer(plain_message());
    const std::string line =
        "autoresponder: Unable to read the rows of a query: " + kRowFailure + "\n";
    EXPECT_EQ(outcome.err, line + line);
    EXPECT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(limit_statements(), ElementsAre(kPurge, kCount, kLookUp, kInsert));
    EXPECT_THAT(sql("select num from resp_freq_moved order by num"),
                ElementsAre(ElementsAre("1"), ElementsAre("5")));
}

TEST_F(ResponseFreq, AMissingTableEndsTheRun) {
    add_responder(1);
    add_forward(1, "copy@example.net");
    lose_table("resp_freq");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to exec query :Table 'tva.resp_freq' doesn't exist\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(statements().back(), kPurge);
}

}  // namespace
