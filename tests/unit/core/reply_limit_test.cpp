// SPDX-License-Identifier: Apache-2.0

#include "core/panel/reply_limit.h"

#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "tests/system/world.h"

namespace {

using namespace autoresponder;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// Why there is no reply; else on which rows the reply was allowed, and whether others have to be
// forgotten.
std::string described(const LimitDecision& decision) {
    if (decision.refusal) {
        return *decision.refusal;
    }
    const auto& replies = decision.record->replies;
    return decision.record->senders.text + " senders, " +
           (replies ? replies->text + " replies" : "not remembered") +
           (decision.evicts ? ", evicts" : "");
}

class CheckedLimit : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        session_.emplace(Session::open());
    }

    LimitDecision check(const std::string& ans_freq, const std::string& mem_limit,
                        Counting counting = Counting::kOnlyLook) {
        const ResponderRow responder{
            .id = "1", .ans_freq = PanelNumber(ans_freq), .mem_limit = PanelNumber(mem_limit)};
        return check_limit(*session_, responder, "sender@example.org", counting);
    }

    std::string checked(const std::string& ans_freq, const std::string& mem_limit) {
        return described(check(ans_freq, mem_limit));
    }

    static void remember(const std::string& email, int num, const std::string& when = "now()") {
        sql("insert into resp_freq set rn_id=1, email='" + email + "', num=" + std::to_string(num) +
            ", time_resp=" + when);
    }

    static void remember_others(int count) {
        for (int i = 1; i <= count; ++i) {
            remember("other" + std::to_string(i) + "@example.org", 1);
        }
    }

    static std::vector<std::string> remembered() {
        std::vector<std::string> found;
        for (const Row& row : sql("select email, num from resp_freq order by email")) {
            found.push_back(row[0].value() + " " + row[1].value());
        }
        return found;
    }

    std::optional<Session> session_;
};

TEST_F(CheckedLimit, ARememberedSenderIsAnsweredBelowTheLimit) {
    remember("sender@example.org", 2);
    EXPECT_EQ(checked("3", "10"), "1 senders, 2 replies");
    EXPECT_EQ(checked("2", "10"), "the limit is reached: 2 of 2 replies to this sender today");
    EXPECT_EQ(checked("1", "10"), "the limit is reached: 2 of 1 replies to this sender today");
}

TEST_F(CheckedLimit, ANewSenderIsAnswered) {
    remember_others(9);
    EXPECT_EQ(checked("1", "10"), "9 senders, not remembered");
}

TEST_F(CheckedLimit, ANewSenderEvictsOthersFromTheLimitOn) {
    EXPECT_EQ(checked("1", "0"), "0 senders, not remembered, evicts");
    EXPECT_EQ(checked("1", "-1"), "0 senders, not remembered, evicts");
    remember_others(10);
    EXPECT_EQ(checked("1", "10"), "10 senders, not remembered, evicts");
    EXPECT_EQ(checked("1", "9"), "10 senders, not remembered, evicts");
}

TEST_F(CheckedLimit, ARememberedSenderEvictsNobody) {
    remember_others(9);
    remember("sender@example.org", 1);
    EXPECT_EQ(checked("3", "10"), "10 senders, 1 replies");
    EXPECT_EQ(checked("3", "0"), "10 senders, 1 replies");
}

TEST_F(CheckedLimit, WhatIsNoNumberCountsAsZero) {
    EXPECT_EQ(checked("1", ""), "0 senders, not remembered, evicts");
    EXPECT_EQ(checked("1", "y"), "0 senders, not remembered, evicts");
    sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=NULL");
    EXPECT_EQ(checked("1", ""), "1 senders, 0 replies");
}

TEST_F(CheckedLimit, OfZeroOrLessOrNoNumberNeverAnswersWhateverIsRemembered) {
    for (const std::string frequency : {"0", "-1", "", "many", "a\nb"}) {
        const LimitDecision decision = check(frequency, "10");
        const std::string shown = frequency == "a\nb" ? "a?b" : frequency;
        EXPECT_EQ(decision.refusal, "it allows no replies at all: ans_freq is '" + shown + "'");
        EXPECT_FALSE(decision.record);
    }
    EXPECT_THAT(statements(), IsEmpty());
    EXPECT_EQ(checked("1", "10"), "0 senders, not remembered");
    EXPECT_EQ(checked(" 2 a day", "10"), "0 senders, not remembered");
}

TEST_F(CheckedLimit, CountsAReplyThatIsAllowed) {
    EXPECT_EQ(described(check("2", "10", Counting::kCount)), "0 senders, not remembered");
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
    EXPECT_EQ(described(check("2", "10", Counting::kCount)), "1 senders, 1 replies");
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 2"));
    EXPECT_EQ(described(check("2", "10", Counting::kCount)),
              "the limit is reached: 2 of 2 replies to this sender today");
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 2"));
}

TEST_F(CheckedLimit, ForgetsEarlierDaysWhereItCounts) {
    remember("sender@example.org", 5, "now() - interval 1 day");
    EXPECT_EQ(described(check("0", "10", Counting::kCount)),
              "it allows no replies at all: ans_freq is '0'");
    EXPECT_THAT(remembered(), IsEmpty());
}

TEST_F(CheckedLimit, ChangesNothingWhereItOnlyLooks) {
    remember("sender@example.org", 5, "now() - interval 1 day");
    remember("other@example.org", 1);
    EXPECT_EQ(checked("2", "1"), "1 senders, not remembered, evicts");
    EXPECT_THAT(statements(), Each(StartsWith("select ")));
    EXPECT_THAT(remembered(), ElementsAre("other@example.org 1", "sender@example.org 5"));
}

TEST_F(CheckedLimit, IsThatOfCanResponseFreq) {
    Mail_content mail;
    mail.from = "sender@example.org";
    EXPECT_EQ(can_response_freq(session_->connection(), &mail, "1", "1", "10"), 1);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
    EXPECT_EQ(can_response_freq(session_->connection(), &mail, "1", "1", "10"), 0);
    EXPECT_EQ(can_response_freq(session_->connection(), &mail, "2", "0", "10"), 0);
    EXPECT_THAT(remembered(), ElementsAre("sender@example.org 1"));
}

}  // namespace
