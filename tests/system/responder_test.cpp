// SPDX-License-Identifier: Apache-2.0

// Which responder rows answer, and what a row with NULL columns means.

#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

class ResponderRow : public World {
  protected:
    // The number of replies that the one responder with these columns gives.
    std::size_t replies(const std::string& columns, const std::string& message = plain_message()) {
        sql("delete from mail_resp");
        add_responder(1, columns);
        const Outcome outcome = answer(message);
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.size();
    }

    // The reply of the one responder with these columns.
    std::string reply(const std::string& columns) {
        add_responder(1, columns);
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.empty() ? "(none)" : outcome.mails[0].message;
    }
};

TEST_F(ResponderRow, WithoutRowsNothingIsSent) {
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(ResponderRow, RowsOfOtherMailboxesDoNotAnswer) {
    add_responder(1, "mn_id=2");
    EXPECT_THAT(answer(plain_message()).mails, IsEmpty());
}

TEST_F(ResponderRow, OnlyFalseAndNullSwitchOff) {
    EXPECT_EQ(replies("resp_on='false'"), 0U);
    EXPECT_EQ(replies("resp_on=NULL"), 0U);
    EXPECT_EQ(replies("resp_on='true'"), 1U);
    EXPECT_EQ(replies("resp_on=''"), 1U);
    EXPECT_EQ(replies("resp_on='False'"), 1U);
    EXPECT_EQ(replies("resp_on='false '"), 1U);
}

TEST_F(ResponderRow, ASubjectKeyIsLookedForInTheSubject) {
    EXPECT_EQ(replies("key_where='subj', keystr='ell'"), 1U);
    EXPECT_EQ(replies("key_where='subj', keystr='ELL'"), 0U);
    EXPECT_EQ(replies("key_where='subj', keystr='there'"), 0U);
    EXPECT_EQ(replies("key_where='subj', keystr=''"), 1U);
    EXPECT_EQ(replies("key_where='subj', keystr=NULL"), 1U);
}

TEST_F(ResponderRow, ASubjectKeyMeetsTheDecodedSubject) {
    EXPECT_EQ(replies("key_where='subj', keystr='Grüße'",
                      message_with({"Subject: =?iso-8859-1?Q?Viele_Gr=FC=DFe?="})),
              1U);
}

TEST_F(ResponderRow, ABodyKeyIsLookedForInTheBody) {
    EXPECT_EQ(replies("key_where='body', keystr='there'"), 1U);
    EXPECT_EQ(replies("key_where='body', keystr='There'"), 0U);
    EXPECT_EQ(replies("key_where='body', keystr='Hello'"), 0U);
}

TEST_F(ResponderRow, AnEmptyBodyKeyIsFoundInEveryMessage) {
    EXPECT_EQ(replies("key_where='body', keystr=''"), 1U);
    EXPECT_EQ(replies("key_where='body', keystr=''", message_with({}, "")), 1U);
    EXPECT_EQ(
        replies("key_where='body', keystr=''", message_with({"Content-Type: image/png"}, "x")), 1U);
}

TEST_F(ResponderRow, AnyOtherPlaceToLookIsNoCondition) {
    for (const char* place : {"'Subj'", "'BODY'", "'no'", "''", "'subj '", "NULL"}) {
        SCOPED_TRACE(place);
        EXPECT_EQ(replies("key_where=" + std::string(place) + ", keystr='absent'"), 1U);
    }
}

TEST_F(ResponderRow, TwoRowsYieldTwoAnswersInTheirOrder) {
    add_responder(1, "text='First'");
    add_responder(2, "text='Second'");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("Re: Hello", "First"));
    EXPECT_EQ(outcome.mails[1].message, plain_reply("Re: Hello", "Second"));
    EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
}

TEST_F(ResponderRow, ARowThatDoesNotApplyIsSkippedWithoutAQuery) {
    add_responder(1, "resp_on='false'");
    add_responder(2, "key_where='subj', keystr='absent'");
    EXPECT_THAT(answer(plain_message()).mails, IsEmpty());
    EXPECT_THAT(statements(), SizeIs(2));
}

TEST_F(ResponderRow, ANullIdIsZero) {
    sql("insert into resp_forward set rn_id=0, address='copy@example.net'");
    add_responder(1, "text='Gone', id=NULL");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments.back(), "copy@example.net");
    EXPECT_EQ(sql("select rn_id from resp_freq").at(0)[0], "0");
}

TEST_F(ResponderRow, ANullTextIsEmpty) {
    EXPECT_EQ(reply("text=NULL"), plain_reply("Re: Hello", ""));
}

TEST_F(ResponderRow, ANullSubjectAnswersTheIncomingOne) {
    EXPECT_EQ(reply("text='Gone fishing.', subject=NULL"), plain_reply());
}

TEST_F(ResponderRow, ANullReplyAddressYieldsNoReplyTo) {
    EXPECT_EQ(reply("text='Gone fishing.', reply_to=NULL"), plain_reply());
}

TEST_F(ResponderRow, ANullCharsetIsUtf8) {
    EXPECT_EQ(reply("text='Grüße', charset=NULL"), plain_reply("Re: Hello", "Grüße"));
}

TEST_F(ResponderRow, ANullContentTypeIsPlainText) {
    EXPECT_EQ(reply("text='Gone fishing.', content_type=NULL"), plain_reply());
}

TEST_F(ResponderRow, ANullFrequencyAllowsTenAnswers) {
    add_responder(1, "ans_freq=NULL");
    sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=9");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    EXPECT_THAT(answer(plain_message()).mails, IsEmpty());
    EXPECT_EQ(sql("select num from resp_freq").at(0)[0], "10");
}

TEST_F(ResponderRow, ANullMemoryRemembersAThousandSenders) {
    add_responder(1, "mem_limit=NULL");
    sql("insert into resp_freq (rn_id, email, num) select 1, concat('s', seq), 1 from "
        "seq_1_to_999");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    EXPECT_EQ(sql("select count(*) from resp_freq").at(0)[0], "1000");
    EXPECT_THAT(answer(message_with({"Reply-To: other@example.org"})).mails, SizeIs(1));
    EXPECT_LT(std::stoi(sql("select count(*) from resp_freq").at(0)[0].value()), 1000);
}

TEST_F(ResponderRow, ARowOfNullsIsOff) {
    sql("insert into mail_resp set mn_id=1");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(ResponderRow, ARowOfNullsThatIsOnAnswers) {
    sql("insert into mail_resp set mn_id=1, resp_on='true'");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("Re: Hello", ""));
}

TEST_F(ResponderRow, AFailingResponderQueryEndsTheRun) {
    add_responder(1);
    database().allow_statements(5);  // four for the session, one for the mailbox
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to exec query :User 'admin' has exceeded the "
              "'max_queries_per_hour' resource (current value: 5)\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements().back(), testing::EndsWith("from mail_resp where mn_id=1"));
}

TEST_F(ResponderRow, RespondersThatCannotBeReadEndTheRun) {
    add_responder(1);
    add_responder(2);
    for (const int sound : {0, 1}) {
        SCOPED_TRACE(sound);
        spoil_rows("mail_resp", sound);
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "autoresponder: Unable to exec query :" + kRowFailure + "\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(statements().back(), testing::EndsWith("from mail_resp where mn_id=1"));
        database().restore_tables();
    }
}

TEST_F(ResponderRow, ColumnsGoOnAfterAZeroByte) {
    const std::string zero(1, '\0');
    EXPECT_EQ(reply("text=concat('before', char(0), 'after')"),
              plain_reply("Re: Hello", "before" + zero + "after"));
    EXPECT_EQ(replies("resp_on=concat('false', char(0))"), 1U);
    EXPECT_EQ(replies("key_where=concat('subj', char(0)), keystr='absent'"), 1U);
    EXPECT_EQ(replies("key_where='subj', keystr=concat('Hello', char(0))"), 0U);
}

}  // namespace
