// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_analysis.h"

#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/unit/core/sample_message.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

class Text : public TextSink {
  public:
    void begin(std::size_t expected) override {
        text_.clear();
        expected_ = expected;
    }
    void add(std::string_view piece) override { text_ += piece; }

    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] std::size_t expected() const { return expected_; }

  private:
    std::string text_;
    std::size_t expected_ = 0;
};

struct Analysis {
    MessageAnalysis message;
    std::string header;
    std::string text;
};

Analysis analysis_of(const std::string& bytes, const char* recipient = "",
                     Audience audience = Audience::kEverybody) {
    Analysis analysis;
    Text text;
    analysis.message = analyse_message(DwString(bytes.data(), bytes.size()), recipient, audience,
                                       analysis.header, text);
    analysis.text = text.text();
    return analysis;
}

TEST(MessageAnalysis, FillsEveryField) {
    const Analysis analysis = analysis_of(kMessage, "info@client@example");
    ASSERT_EQ(analysis.message.objection, nullptr);
    expect_fields_of_message(analysis.message.content, analysis.text);
}

TEST(MessageAnalysis, OfABareMessageHasItsDefaults) {
    const Analysis analysis = analysis_of("From: a@b.org\n\n");
    ASSERT_EQ(analysis.message.objection, nullptr);
    EXPECT_EQ(analysis.message.content.subject, "");
    EXPECT_EQ(analysis.message.content.date, "");
    EXPECT_EQ(analysis.message.content.charset, "US-ASCII");
    EXPECT_EQ(analysis.text, "");
}

TEST(MessageAnalysis, TellsWhereThingsWereTaken) {
    const Analysis analysis = analysis_of(kMessage);
    EXPECT_EQ(analysis.message.sender_field, Sender::Field::kReplyTo);
    EXPECT_EQ(analysis.message.text_source, MessageText::Source::kMessage);
    const MessageAnalysis parts = analysis_of(
                                      "From: a@b.org\n"
                                      "Content-Type: multipart/mixed; boundary=o\n\n"
                                      "--o\n\nno type\n"
                                      "--o\nContent-Type: text/plain\n\ntext\n--o--\n")
                                      .message;
    EXPECT_EQ(parts.sender_field, Sender::Field::kFrom);
    EXPECT_EQ(parts.text_source, MessageText::Source::kPart);
    EXPECT_EQ(parts.text_part, 1U);
    const MessageAnalysis no_text = analysis_of(
                                        "From: a@b.org\n"
                                        "Content-Type: multipart/mixed; boundary=o\n\n"
                                        "--o\n\nno type\n--o--\n")
                                        .message;
    EXPECT_EQ(no_text.text_source, MessageText::Source::kNoPart);
}

TEST(MessageAnalysis, KeepsTheHeaderAsItWasSentOnlyWhereItTellsWhomToAnswer) {
    const std::string header = "FROM: a@b.org\nList-Id:\n <x.b.org>\nSubject: =?utf-8?Q?a?=\n";
    EXPECT_EQ(analysis_of(header + "\nbody\n", "", Audience::kOnlyPeople).header, header);
    EXPECT_EQ(analysis_of(header + "\nbody\n", "", Audience::kEverybody).header, "");
}

TEST(MessageAnalysis, ObjectsToAMessageWithoutASender) {
    testing::internal::CaptureStderr();
    const Analysis analysis = analysis_of("Subject: =?x-none?Q?a?=\n\n\xE9", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_STREQ(analysis.message.objection,
                 "Could not get sender's e-mail address from Reply-To: or From: headers.");
    EXPECT_EQ(analysis.message.content.subject, "");
    EXPECT_EQ(analysis.message.content.to, "");
}

TEST(MessageAnalysis, ObjectsToAMessageToNobodyKnown) {
    testing::internal::CaptureStderr();
    const Analysis analysis = analysis_of("From: a@b.org\nSubject: =?x-none?Q?a?=\n\n", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_STREQ(analysis.message.objection,
                 "Could not get recipient e-mail address from RESP_RECIPIENT environment variable");
    EXPECT_EQ(analysis.message.content.from, "");
    EXPECT_EQ(analysis.message.content.subject, "");
}

TEST(MessageAnalysis, WarnsOfTheBodyBeforeTheSubject) {
    testing::internal::CaptureStderr();
    const Analysis analysis = analysis_of(
        "From: a@b.org\n"
        "Subject: =?x-other?Q?a?=\n"
        "Content-Type: text/plain; charset=x-none\n\n\xE9");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not convert message body text from x-none to UTF-8.\n"
              "Could not convert message subject text from x-none to UTF-8.\n");
    EXPECT_EQ(analysis.message.content.subject, "");
    EXPECT_EQ(analysis.text, "\xE9");
}

TEST(MessageAnalysis, OfTextThatCannotBeConvertedBeginsItAnew) {
    Text text;
    std::string header;
    const std::string message =
        "From: a@b.org\nContent-Type: text/plain; charset=UTF-16LE\n\n"s + "a\0b\0c"s;
    testing::internal::CaptureStderr();
    analyse_message(DwString(message.data(), message.size()), "", Audience::kEverybody, header,
                    text);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not convert message body text from UTF-16LE to UTF-8.\n");
    EXPECT_EQ(text.text(), "a\0b\0c"s);
    EXPECT_EQ(text.expected(), 5U);
}

}  // namespace
