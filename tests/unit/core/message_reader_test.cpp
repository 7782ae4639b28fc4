// SPDX-License-Identifier: Apache-2.0

#include "core/reader/message_reader.h"

#include <string>

#include <gtest/gtest.h>

#include "core/people/recipient_check.h"
#include "tests/unit/core/sample_message.h"
#include "tests/unit/core/standard_input.h"
#include "tests/unit/support/process_state.h"

namespace {

using namespace autoresponder;

DwString text(const std::string& bytes) {
    return {bytes.data(), bytes.size()};
}

MessageFacts facts_of(const std::string& bytes, const std::optional<std::string>& recipient,
                      Audience audience) {
    return MessageReader(text(bytes), recipient, audience).read();
}

TEST(MessageReader, HandsEveryFactOver) {
    const MessageFacts facts = facts_of(kMessage, "info@client@example", Audience::kEverybody);
    ASSERT_EQ(facts.analysis.objection, nullptr);
    expect_fields_of_message(facts.analysis.content, facts.analysis.content.body_lines.text());
    EXPECT_EQ(facts.analysis.sender_field, Sender::Field::kReplyTo);
    EXPECT_EQ(facts.analysis.text_source, MessageText::Source::kMessage);
    EXPECT_EQ(facts.personal.machine, "");
    EXPECT_EQ(facts.personal.message_id, "");
    EXPECT_TRUE(facts.personal.sender.empty());
}

TEST(MessageReader, HandsOverTextsOfAnySize) {
    for (const std::size_t size : {0U, 65527U, 65528U, 65529U, 3'000'000U}) {
        const std::string many(size, 'x');
        const MessageFacts facts =
            facts_of("From: a@b.org\nSubject: " + many + "\n\n" + many, "", Audience::kEverybody);
        EXPECT_TRUE(facts.analysis.content.subject == many) << size;
        EXPECT_TRUE(facts.analysis.content.body_lines.text() == many) << size;
    }
}

TEST(MessageReader, TellsWhichPartTheTextIs) {
    const MessageFacts facts = facts_of(
        "From: a@b.org\n"
        "Content-Type: multipart/mixed; boundary=o\n\n"
        "--o\n\nno type\n"
        "--o\nContent-Type: text/plain\n\ntext\n--o--\n",
        "", Audience::kEverybody);
    EXPECT_EQ(facts.analysis.sender_field, Sender::Field::kFrom);
    EXPECT_EQ(facts.analysis.text_source, MessageText::Source::kPart);
    EXPECT_EQ(facts.analysis.text_part, 1U);
}

TEST(MessageReader, ObjectsToAMessageWithoutASenderOrToNobodyKnown) {
    EXPECT_STREQ(facts_of("Subject: x\n\n", "", Audience::kEverybody).analysis.objection,
                 "Could not get sender's e-mail address from Reply-To: or From: headers.");
    EXPECT_STREQ(facts_of(kMessage, std::nullopt, Audience::kEverybody).analysis.objection,
                 "Could not get recipient e-mail address from RESP_RECIPIENT environment variable");
}

TEST(MessageReader, PassesComplaintsOnInTheirOrder) {
    testing::internal::CaptureStderr();
    facts_of(
        "From: a@b.org\nSubject: =?x-other?Q?a?=\n"
        "Content-Type: text/plain; charset=x-none\n\n\xE9",
        "", Audience::kEverybody);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not convert message body text from x-none to UTF-8.\n"
              "Could not convert message subject text from x-none to UTF-8.\n");
}

TEST(MessageReader, KnowsWhetherTheSenderIsAPerson) {
    const std::string person =
        "From: Ann@B\xC3\x9C"
        "cher.example\nMessage-ID: <1@b.org>\nTo: info@client.example\n\n";
    const PersonalFacts facts =
        facts_of(person, "info@client.example", Audience::kOnlyPeople).personal;
    EXPECT_EQ(facts.machine, "");
    EXPECT_EQ(facts.message_id, "<1@b.org>");
    EXPECT_EQ(facts.sender, (std::vector<MailAddress>{{"ann",
                                                       "b\xC3\x9C"
                                                       "cher.example"},
                                                      {"ann", "xn--bcher-kva.example"}}));
    EXPECT_EQ(facts_of("List-Id: x\n" + person, "", Audience::kOnlyPeople).personal.machine,
              "List-Id: field");
}

TEST(MessageReader, LooksForAddressesInTheHeader) {
    MessageReader reader(text("From: a@b.org\nTo: Info@b\xC3\xBC"
                              "cher.example\nCc: desk@c.org\n\n"),
                         "info@client.example", Audience::kOnlyPeople);
    reader.read();
    EXPECT_FALSE(reader.stand_in_header(
        MailboxNames{.local_parts = {"info"}, .domains = {"client.example"}}));
    EXPECT_TRUE(reader.stand_in_header(MailboxNames{
        .local_parts = {"info"}, .domains = {"client.example", "xn--bcher-kva.example"}}));
    EXPECT_FALSE(
        reader.stand_in_header(MailboxNames{.local_parts = {"info"}, .domains = {"c.org"}}));
    EXPECT_TRUE(
        reader.stand_in_header(MailboxNames{.local_parts = {"x", "DESK"}, .domains = {"C.org"}}));
}

using ParseMessage = StandardInput;

TEST_F(ParseMessage, FillsTheRecord) {
    feed(kMessage);
    Mail_content mail;
    EXPECT_EQ(parse_message(&mail), 0);
    EXPECT_EQ(mail.from, "Ann@b.org");
    EXPECT_EQ(mail.to, "info@client.example");
    EXPECT_EQ(copied(), std::string(kMessage) + "\n");
}

TEST_F(ParseMessage, LeavesTheRecordAloneWhereItFails) {
    Mail_content mail;
    mail.from = "untouched";
    feed("Subject: from nobody\n\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(parse_message(&mail), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not get sender's e-mail address from Reply-To: or From: headers.\n");
    EXPECT_EQ(mail.from, "untouched");
    EXPECT_EQ(mail.to, "");
}

TEST_F(ParseMessage, FailsWithoutAFileForTheCopy) {
    Mail_content mail;
    feed(kMessage);
    testing::internal::CaptureStderr();
    {
        const testing_support::NoMoreDescriptors limit;
        EXPECT_EQ(parse_message(&mail), 1);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Could not create a temporary file.\n");
    EXPECT_EQ(mail.from, "");
}

}  // namespace
