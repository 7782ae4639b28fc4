#include "core/incoming_message.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "core/temporary_files.h"
#include "support/descriptor.h"

namespace {

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

TEST(MessageAnalysis, FillsEveryField) {
    const auto analysis = analyse_message(text(kMessage), "info@client@example");
    ASSERT_TRUE(analysis);
    const Mail_content& mail = analysis->content;
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
    const auto analysis = analyse_message(text("From: a@b.org\n\n"), "");
    ASSERT_TRUE(analysis);
    EXPECT_EQ(analysis->content.subject, "");
    EXPECT_EQ(analysis->content.date, "");
    EXPECT_EQ(analysis->content.charset, "US-ASCII");
    EXPECT_EQ(analysis->content.body_lines.text(), "");
}

TEST(MessageAnalysis, TellsWhereThingsWereTaken) {
    const auto analysis = analyse_message(text(kMessage), "");
    EXPECT_EQ(analysis->sender_field, Sender::Field::kReplyTo);
    EXPECT_EQ(analysis->text_source, MessageText::Source::kMessage);
    const auto parts = analyse_message(text("From: a@b.org\n"
                                            "Content-Type: multipart/mixed; boundary=o\n\n"
                                            "--o\n\nno type\n"
                                            "--o\nContent-Type: text/plain\n\ntext\n--o--\n"),
                                       "");
    EXPECT_EQ(parts->sender_field, Sender::Field::kFrom);
    EXPECT_EQ(parts->text_source, MessageText::Source::kPart);
    EXPECT_EQ(parts->text_part, 1U);
    const auto no_text = analyse_message(text("From: a@b.org\n"
                                              "Content-Type: multipart/mixed; boundary=o\n\n"
                                              "--o\n\nno type\n--o--\n"),
                                         "");
    EXPECT_EQ(no_text->text_source, MessageText::Source::kNoPart);
}

TEST(MessageAnalysis, WarnsOfTheBodyBeforeTheSubject) {
    testing::internal::CaptureStderr();
    const auto analysis = analyse_message(text("From: a@b.org\n"
                                               "Subject: =?x-other?Q?a?=\n"
                                               "Content-Type: text/plain; charset=x-none\n\n\xE9"),
                                          "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Could not convert message body text from x-none to UTF-8.\n"
              "Could not convert message subject text from x-none to UTF-8.\n");
    EXPECT_EQ(analysis->content.subject, "");
    EXPECT_EQ(analysis->content.body_lines.text(), "\xE9");
}

// Runs parse_message with the message on standard input.
class ParseMessage : public testing::Test {
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

  private:
    tolva::Descriptor standard_input_;
};

TEST_F(ParseMessage, FillsTheRecord) {
    feed(kMessage);
    Mail_content mail;
    EXPECT_EQ(parse_message(&mail), 0);
    EXPECT_EQ(mail.from, "Ann@b.org");
    EXPECT_EQ(mail.to, "info@client.example");
}

TEST_F(ParseMessage, LeavesTheRecordAloneWhereItFails) {
    Mail_content mail;
    mail.from = "untouched";
    feed("Subject: from nobody\n\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(parse_message(&mail), 1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(mail.from, "untouched");
    EXPECT_EQ(mail.to, "");
}

}  // namespace
