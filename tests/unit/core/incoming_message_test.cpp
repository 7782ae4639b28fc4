// SPDX-License-Identifier: Apache-2.0

#include "core/message/incoming_message.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "core/run/temporary_files.h"
#include "support/descriptor.h"
#include "tests/unit/core/temporary_directory.h"
#include "tests/unit/support/process_state.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

constexpr const char* kMessage =
    "Reply-To: Ann <Ann@b.org>\n"
    "From: ben@c.org\n"
    "Date: Mon, 3 Mar 2025\n 10:00:00 +0100 (CET)\n"
    "Subject: =?iso-8859-1?Q?caf=E9?= at noon\n"
    "Content-Type: text/plain; charset=ISO-8859-1\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "\n"
    "na=EFve\nsecond";

DwString text(const std::string& bytes) {
    return {bytes.data(), bytes.size()};
}

std::string bytes_of(const DwString& text) {
    return {text.data(), text.length()};
}

MessageAnalysis analysis_of(const std::string& bytes, const char* recipient = "",
                            Audience audience = Audience::kEverybody) {
    return analyse_message(text(bytes), recipient, audience);
}

TEST(MessageAnalysis, FillsEveryField) {
    const MessageAnalysis analysis = analysis_of(kMessage, "info@client@example");
    ASSERT_EQ(analysis.objection, nullptr);
    const Mail_content& mail = analysis.content;
    EXPECT_EQ(mail.from, "Ann@b.org");
    EXPECT_EQ(mail.to, "info@client@example");
    EXPECT_EQ(mail.to_mailname, "info");
    EXPECT_EQ(mail.to_domain, "client@example");
    EXPECT_EQ(mail.subject, "caf\xC3\xA9 at noon");
    EXPECT_EQ(mail.date, "Mon, 3 Mar 2025\n 10:00:00 +0100 (CET)");
    EXPECT_EQ(mail.charset, "ISO-8859-1");
    EXPECT_EQ(mail.body_lines.text(), "na\xC3\xAFve\nsecond");
}

TEST(MessageAnalysis, OfABareMessageHasItsDefaults) {
    const MessageAnalysis analysis = analysis_of("From: a@b.org\n\n");
    ASSERT_EQ(analysis.objection, nullptr);
    EXPECT_EQ(analysis.content.subject, "");
    EXPECT_EQ(analysis.content.date, "");
    EXPECT_EQ(analysis.content.charset, "US-ASCII");
    EXPECT_EQ(analysis.content.body_lines.text(), "");
}

TEST(MessageAnalysis, TellsWhereThingsWereTaken) {
    const MessageAnalysis analysis = analysis_of(kMessage);
    EXPECT_EQ(analysis.sender_field, Sender::Field::kReplyTo);
    EXPECT_EQ(analysis.text_source, MessageText::Source::kMessage);
    const MessageAnalysis parts = analysis_of(
        "From: a@b.org\n"
        "Content-Type: multipart/mixed; boundary=o\n\n"
        "--o\n\nno type\n"
        "--o\nContent-Type: text/plain\n\ntext\n--o--\n");
    EXPECT_EQ(parts.sender_field, Sender::Field::kFrom);
    EXPECT_EQ(parts.text_source, MessageText::Source::kPart);
    EXPECT_EQ(parts.text_part, 1U);
    const MessageAnalysis no_text = analysis_of(
        "From: a@b.org\n"
        "Content-Type: multipart/mixed; boundary=o\n\n"
        "--o\n\nno type\n--o--\n");
    EXPECT_EQ(no_text.text_source, MessageText::Source::kNoPart);
}

TEST(MessageAnalysis, KeepsTheHeaderAsItWasSentOnlyWhereItTellsWhomToAnswer) {
    const std::string header = "FROM: a@b.org\nList-Id:\n <x.b.org>\nSubject: =?utf-8?Q?a?=\n";
    EXPECT_EQ(analysis_of(header + "\nbody\n", "", Audience::kOnlyPeople).header, header);
    EXPECT_EQ(analysis_of(header + "\nbody\n", "", Audience::kEverybody).header, "");
}

TEST(MessageAnalysis, ObjectsToAMessageWithoutASender) {
    testing::internal::CaptureStderr();
    const MessageAnalysis analysis = analysis_of("Subject: =?x-none?Q?a?=\n\n\xE9", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_STREQ(analysis.objection,
                 "Could not get sender's e-mail address from Reply-To: or From: headers.");
    EXPECT_EQ(analysis.content.subject, "");
    EXPECT_EQ(analysis.content.to, "");
}

TEST(MessageAnalysis, ObjectsToAMessageToNobodyKnown) {
    testing::internal::CaptureStderr();
    const MessageAnalysis analysis =
        analysis_of("From: a@b.org\nSubject: =?x-none?Q?a?=\n\n", nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_STREQ(analysis.objection,
                 "Could not get recipient e-mail address from RESP_RECIPIENT environment variable");
    EXPECT_EQ(analysis.content.from, "");
    EXPECT_EQ(analysis.content.subject, "");
}

TEST(MessageAnalysis, WarnsOfTheBodyBeforeTheSubject) {
    testing::internal::CaptureStderr();
    const MessageAnalysis analysis = analysis_of(
        "From: a@b.org\n"
        "Subject: =?x-other?Q?a?=\n"
        "Content-Type: text/plain; charset=x-none\n\n\xE9");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not convert message body text from x-none to UTF-8.\n"
              "Could not convert message subject text from x-none to UTF-8.\n");
    EXPECT_EQ(analysis.content.subject, "");
    EXPECT_EQ(analysis.content.body_lines.text(), "\xE9");
}

// The message is on standard input.
class StandardInput : public testing::Test {
  protected:
    void SetUp() override {
        std::string("/tmp/tva-autoresponder-XXXXXX").copy(mail_file_name, 29);
        standard_input_ = tolva::Descriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
        setenv("RESP_RECIPIENT", "info@client.example", 1);
    }
    void TearDown() override {
        if (standard_input_) {
            dup2(standard_input_.get(), STDIN_FILENO);
        } else {
            close(STDIN_FILENO);
        }
        unlink(mail_file_name);
        unsetenv("RESP_RECIPIENT");
    }

    static void feed(const std::string& message) {
        const auto pipe = tolva::make_pipe();
        ASSERT_TRUE(pipe);
        ASSERT_EQ(write(pipe->write_end.get(), message.data(), message.size()),
                  static_cast<ssize_t>(message.size()));
        ASSERT_EQ(dup2(pipe->read_end.get(), STDIN_FILENO), STDIN_FILENO);
    }

    // For messages of any size.
    void feed_file(const std::string& message) {
        directory_.put("message", message);
        open_input(directory_.path("message"), O_RDONLY);
    }

    static void open_input(const std::string& path, int flags) {
        const tolva::Descriptor file(open(path.c_str(), flags | O_CLOEXEC));
        ASSERT_TRUE(file);
        ASSERT_EQ(dup2(file.get(), STDIN_FILENO), STDIN_FILENO);
    }

    static std::string copied() {
        std::ifstream file(mail_file_name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const TemporaryDirectory directory_;

  private:
    tolva::Descriptor standard_input_;
};

using ReadMessage = StandardInput;
using ReceivedMessage = StandardInput;
using ParseMessage = StandardInput;

TEST_F(ReadMessage, IsTheInputAndANewline) {
    for (const std::string& message : {""s, "\n"s, "From: a@b.org\n\nbody"s, "zero \0 byte\n"s}) {
        feed(message);
        const MessageInput input = read_message();
        EXPECT_TRUE(input.read);
        EXPECT_EQ(bytes_of(input.text), message + "\n");
    }
}

TEST_F(ReadMessage, IsWholeWhateverItsSize) {
    for (const std::size_t size : {65535U, 65536U, 65537U, 131072U, 1000000U}) {
        const std::string message(size, 'x');
        feed_file(message);
        const MessageInput input = read_message();
        EXPECT_TRUE(input.read);
        EXPECT_TRUE(bytes_of(input.text) == message + "\n") << size;
    }
}

TEST_F(ReadMessage, EndsWithANewlineWhereReadingFails) {
    open_input(directory_.path(), O_RDONLY | O_DIRECTORY);
    const MessageInput input = read_message();
    EXPECT_EQ(input.read.error(), EISDIR);
    EXPECT_EQ(bytes_of(input.text), "\n");
}

TEST_F(ReceivedMessage, IsCopiedWithItsNewline) {
    const std::string message = std::string(100'000, 'x') + "\nlast";
    feed_file(message);
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(bytes_of(receive_message(*copy)) == message + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(copied() == message + "\n");
    EXPECT_TRUE(copy->whole());
}

TEST_F(ReceivedMessage, ThatCannotBeReadIsReported) {
    open_input(directory_.path(), O_RDONLY | O_DIRECTORY);
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    testing::internal::CaptureStderr();
    EXPECT_EQ(bytes_of(receive_message(*copy)), "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "autoresponder: Failed to read the message: Is a directory (21)\n");
    EXPECT_EQ(copied(), "\n");
}

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
