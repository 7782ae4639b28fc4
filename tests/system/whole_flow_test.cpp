// SPDX-License-Identifier: Apache-2.0

// Several responders of different kinds answering one message.

#include <cstddef>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::SizeIs;

class WholeFlow : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1, "text='refused', ans_freq='1'");
        sql("insert into resp_freq set rn_id=1, email='sender@example.org', num=1");
        add_responder(2, "text='off', resp_on='false'");
        add_responder(3, "text='by subject', key_where='subj', keystr='price'");
        add_responder(4, "text='by another subject', key_where='subj', keystr='order'");
        add_responder(5, "text='by body', key_where='body', keystr='Berlin', reply_to='b@x.org'");
        add_responder(6, "text='without condition'");
        for (int id = 1; id <= 6; ++id) {
            add_forward(id, "copy" + std::to_string(id) + "@example.net");
            add_attachment(id, "gone" + std::to_string(id));
        }
        sql("delete from resp_forward where rn_id=6");
        sql("delete from resp_attach where rn_id=5");
        write_attachment("list.txt", "1 apple\n");
        add_attachment(3, "list.txt");
        add_attachment(5, "list.txt");
    }

    static std::string message() {
        return message_with({"Subject: the price please"}, "We sit in Berlin.\n");
    }
};

// Who got each mail, in the order of the mail programs' starts.
std::vector<std::string> recipients(const Outcome& outcome) {
    std::vector<std::string> all;
    for (const Submission& mail : outcome.mails) {
        all.push_back(mail.arguments.back());
    }
    return all;
}

TEST_F(WholeFlow, EachRowForwardsNotifiesAndRepliesBeforeTheNext) {
    const Outcome outcome = answer(message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(recipients(outcome),
                ElementsAre("copy3@example.net", "owner@clients.example", "sender@example.org",
                            "copy5@example.net", "sender@example.org",  //
                            "owner@clients.example", "sender@example.org"));
    EXPECT_EQ(read_mail(outcome.mails[2].message).text, "by subject\n\n");
    EXPECT_EQ(read_mail(outcome.mails[4].message).text, "by body\n\n");
    EXPECT_EQ(read_mail(outcome.mails[6].message).text, "without condition\n\n\n");
    EXPECT_EQ(outcome.mails[0].message, message() + "\n");
    EXPECT_EQ(outcome.mails[3].message, message() + "\n");
}

TEST_F(WholeFlow, EachRowAttachesItsOwnFiles) {
    const Outcome outcome = answer(message());
    ASSERT_THAT(outcome.mails, SizeIs(7));
    for (const std::size_t reply : {2U, 4U}) {
        const ReadMail mail = read_mail(outcome.mails[reply].message);
        ASSERT_THAT(mail.attachments, SizeIs(1));
        EXPECT_EQ(mail.attachments[0].name, "list.txt");
        EXPECT_EQ(mail.attachments[0].bytes, "1 apple\n");
    }
    EXPECT_THAT(read_mail(outcome.mails[6].message).attachments, testing::IsEmpty());
}

TEST_F(WholeFlow, TheQueriesOfEachRowComeInTheOrderOfItsWork) {
    answer(message());
    std::vector<std::string> kinds;
    for (const std::string& statement : statements()) {
        for (const char* table : {"mail_resp", "resp_freq", "resp_forward", "resp_attach",
                                  "clients", "admin_email", "FullHostName"}) {
            if (statement.find(table) != std::string::npos &&
                (kinds.empty() || kinds.back() != table)) {
                kinds.emplace_back(table);
                break;
            }
        }
    }
    EXPECT_THAT(kinds,
                ElementsAre("mail_resp", "resp_freq",  // refused, then the third row's
                            "resp_forward", "resp_attach", "clients", "admin_email", "FullHostName",
                            "resp_freq", "resp_forward", "resp_attach", "resp_freq", "resp_forward",
                            "resp_attach", "clients", "admin_email", "FullHostName"));
}

TEST_F(WholeFlow, ASecondMessageIsAnsweredByTheSameRows) {
    EXPECT_THAT(answer(message()).mails, SizeIs(7));
    EXPECT_THAT(answer(message()).mails, SizeIs(7));
}

TEST_F(WholeFlow, ASizeLimitReplacesOnlyTheRepliesAboveIt) {
    set_databytes("400");
    const Outcome outcome = answer(message());
    ASSERT_THAT(outcome.mails, SizeIs(7));
    const std::string subject = "Subject: Re: the price please\n";
    EXPECT_THAT(outcome.mails[2].message, testing::HasSubstr("exceeds databytes limit."));
    EXPECT_THAT(outcome.mails[4].message, testing::StartsWith("Reply-To: b@x.org\nFrom: "));
    EXPECT_THAT(outcome.mails[4].message, testing::HasSubstr("exceeds databytes limit."));
    EXPECT_THAT(outcome.mails[6].message, testing::HasSubstr("without condition\n\n\n"));
}

}  // namespace
