// SPDX-License-Identifier: Apache-2.0

// autoresponderctl answered: whom a mailbox answered today, and how to forget it.

#include <sys/wait.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class Answered : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1, "ans_freq='1'");
        add_responder(2);
        sql("insert into mail_aliases set mn_id=1, alias='info'");
        sql("insert into resp_freq set rn_id=1, email='ann@example.org', num=1, "
            "time_resp=concat(curdate(), ' 00:00:01')");
        sql("insert into resp_freq set rn_id=1, email='ben@example.org', num=3, "
            "time_resp=concat(curdate(), ' 00:00:02')");
        sql("insert into resp_freq set rn_id=1, email='old@example.org', num=9, "
            "time_resp=now() - interval 2 day");
        sql("insert into resp_freq set rn_id=9, email='ann@example.org', num=1");
    }

    static Finished answered(std::vector<std::string> options,
                             const std::string& recipient = "info@example.com") {
        options.insert(options.begin(), {"answered", recipient});
        return control({.arguments = options});
    }

    static std::vector<Row> remembered() {
        return sql("select rn_id, email from resp_freq order by rn_id, email");
    }
};

TEST_F(Answered, ListsTodaysSendersOfEachResponder) {
    const std::string today = sql("select curdate()").at(0).at(0).value();
    const Finished finished = answered({});
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.err, "");
    EXPECT_EQ(finished.out,
              "responder 1: 2 senders answered today; replies allowed to each: 1\n"
              "  1  ann@example.org  since " +
                  today +
                  " 00:00:01\n"
                  "  3  ben@example.org  since " +
                  today +
                  " 00:00:02\n"
                  "responder 2: 0 senders answered today; replies allowed to each: 10\n");
}

TEST_F(Answered, SaysWhichRespondersAreOff) {
    sql("update mail_resp set resp_on='false' where id=1");
    EXPECT_THAT(
        answered({}).out,
        testing::StartsWith(
            "responder 1, which is off: 2 senders answered today; replies allowed to each: 1\n"));
}

TEST_F(Answered, CountsSendersWithTheirOwnWord) {
    sql("delete from resp_freq where email='ben@example.org'");
    EXPECT_THAT(answered({}).out, testing::StartsWith("responder 1: 1 sender answered today; "));
}

TEST_F(Answered, ForgetsOneSenderOfThisMailbox) {
    EXPECT_EQ(answered({"--clear", "ann@example.org"}).out,
              "responder 1: 1 forgotten\nresponder 2: 0 forgotten\n");
    EXPECT_THAT(remembered(), ElementsAre(Row{"1", "ben@example.org"}, Row{"1", "old@example.org"},
                                          Row{"9", "ann@example.org"}));
}

TEST_F(Answered, ForgetsEverySenderOfThisMailbox) {
    EXPECT_EQ(answered({"--clear-all"}).out,
              "responder 1: 3 forgotten\nresponder 2: 0 forgotten\n");
    EXPECT_THAT(remembered(), ElementsAre(Row{"9", "ann@example.org"}));
}

TEST_F(Answered, LetsAForgottenSenderBeAnsweredAgain) {
    sql("delete from mail_resp where id=2");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    EXPECT_THAT(answer(plain_message()).mails, IsEmpty());
    answered({"--clear", "sender@example.org"});
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
}

TEST_F(Answered, EscapesTheSender) {
    EXPECT_EQ(answered({"--clear", "x' or '1'='1"}).out,
              "responder 1: 0 forgotten\nresponder 2: 0 forgotten\n");
    EXPECT_THAT(remembered(), SizeIs(4));
}

TEST_F(Answered, ClearsNobodyWhereTheSenderIsEmpty) {
    answered({"--clear", ""});
    EXPECT_THAT(remembered(), SizeIs(4));
}

TEST_F(Answered, OfAMailboxThatIsMissingIsAnError) {
    const Finished finished = answered({}, "nobody@example.com");
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_EQ(finished.err, "autoresponderctl: there is no mailbox nobody@example.com\n");
    EXPECT_EQ(finished.out, "");
}

TEST_F(Answered, WithoutADatabaseIsAnError) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    const Finished finished = answered({});
    EXPECT_EQ(WEXITSTATUS(finished.status), 2);
    EXPECT_THAT(finished.err, testing::StartsWith("autoresponderctl: Unable to connect to Tolva "
                                                  "Database: Access denied"));
}

}  // namespace
