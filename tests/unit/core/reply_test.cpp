// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply.h"

#include <cctype>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/files/attachment_repository.h"
#include "core/message/header_fields.h"
#include "core/message/mail_content.h"
#include "core/message/message_id.h"
#include "core/panel/responder.h"
#include "core/reply/auto_submitted.h"
#include "core/reply/reply_file.h"
#include "core/reply/size_limit.h"
#include "core/reply/subject_placeholders.h"
#include "support/descriptor.h"
#include "tests/unit/core/first_message.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

ResponderRow responder() {
    ResponderRow row;
    row.text = "Thank you.";
    row.header.charset = "UTF-8";
    row.header.content_type = "text/plain";
    return row;
}

std::string written(const ResponderRow& row, const std::vector<std::string>& attachments = {},
                    const std::string& directory = "", const ReplyMarks& marks = {}) {
    const AttachmentRepository repository(directory, ".");
    const std::string boundary = "BOUNDARY";
    std::ostringstream out;
    write_reply(out, first_message(), {row, row.header, marks, repository, attachments, boundary});
    return out.str();
}

TEST(Reply, SinglePartIsWrittenHeaderByHeader) {
    EXPECT_EQ(written(responder()),
              "From: info@client.example\n"
              "To: ann@correspondent.example\n"
              "MIME-Version: 1.0\n"
              "Subject: Re: A question\n"
              "Content-Type: text/plain; charset=\"UTF-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "Thank you.\n\n\n");
}

TEST(Reply, ReplyToComesFirstWhenThereIsOne) {
    ResponderRow row = responder();
    row.header.reply_to = "desk@client.example";
    EXPECT_THAT(written(row), testing::StartsWith("Reply-To: desk@client.example\n"
                                                  "From: info@client.example\n"));
}

TEST(Reply, BearsTheValuesForItsHeaderNotThoseOfTheRow) {
    ResponderRow row = responder();
    row.header = {.reply_to = "a\nb", .charset = "c\nd", .content_type = "e\nf"};
    const HeaderValues safe = {.charset = "UTF-8", .content_type = "text/html"};
    const AttachmentRepository repository("", ".");
    std::ostringstream out;
    write_reply(out, first_message(), {row, safe, ReplyMarks(), repository, {}, ""});
    EXPECT_THAT(out.str(), testing::StartsWith("From: info@client.example\n"));
    EXPECT_THAT(out.str(),
                testing::HasSubstr("\nContent-Type: text/html; charset=\"UTF-8\"\nContent-T"));
}

TEST(Reply, MarksStandAfterTheSubject) {
    const std::string header = "Message-ID: <1@b.org>\n";
    EXPECT_THAT(written(responder(), {}, "", ReplyMarks(message_id(HeaderFields(header)))),
                testing::HasSubstr("\nSubject: Re: A question\n"
                                   "Auto-Submitted: auto-replied\n"
                                   "In-Reply-To: <1@b.org>\n"
                                   "References: <1@b.org>\n"
                                   "Content-Type: text/plain"));
}

TEST(Reply, TextStandsInTheCharsetThatItsHeaderNames) {
    ResponderRow row = responder();
    row.text =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    row.header.charset = "ISO-8859-1";
    EXPECT_THAT(written(row), testing::HasSubstr("charset=\"ISO-8859-1\"\n"));
    EXPECT_THAT(written(row), testing::EndsWith("\n\nGr\xFC\xDF"
                                                "e\n\n\n"));
    row.header.charset = "no-such-charset";
    EXPECT_THAT(written(row), testing::HasSubstr("charset=\"UTF-8\"\n"));
    EXPECT_THAT(written(row), testing::EndsWith("\n\nGr\xC3\xBC\xC3\x9F"
                                                "e\n\n\n"));
}

TEST(Reply, PlaceholdersInTheTextStay) {
    ResponderRow row = responder();
    row.text = "<request_subject>";
    EXPECT_THAT(written(row), testing::EndsWith("\n\n<request_subject>\n\n\n"));
}

TEST(Reply, AttachmentsAreWrittenAsPartsAfterTheText) {
    TemporaryDirectory directory;
    directory.put("a.txt", "ABC");
    directory.put("empty", "");
    EXPECT_EQ(written(responder(), {"a.txt", "empty"}, directory.path()),
              "From: info@client.example\n"
              "To: ann@correspondent.example\n"
              "MIME-Version: 1.0\n"
              "Subject: Re: A question\n"
              "Content-Type: multipart/mixed;\n"
              "\tboundary=\"BOUNDARY\"\n"
              "\n"
              "--BOUNDARY\n"
              "Content-Type: text/plain; charset=\"UTF-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "Thank you.\n\n\n"
              "--BOUNDARY\n"
              "Content-Type: application/octet-stream\n"
              "Content-Transfer-Encoding: base64\n"
              "Content-Disposition: attachment;\n"
              "\tfilename=\"a.txt\"\n"
              "\n"
              "QUJD\n"
              "\n"
              "--BOUNDARY\n"
              "Content-Type: application/octet-stream\n"
              "Content-Transfer-Encoding: base64\n"
              "Content-Disposition: attachment;\n"
              "\tfilename=\"empty\"\n"
              "\n"
              "\n"
              "--BOUNDARY--\n");
}

TEST(Reply, IsComposedInAFileAsItIsWritten) {
    const ResponderRow row = responder();
    const AttachmentRepository repository("", ".");
    const ReplyFile file(ReplyFile::Place::kMemory);
    const ReplyKind kind = compose_reply(
        file, first_message(), {row, row.header, ReplyMarks(), repository, {}, "BOUNDARY"});
    EXPECT_EQ(kind, ReplyKind::kReply);
    std::string text(1000, '\0');
    std::size_t length = 0;
    ASSERT_TRUE(tolva::read_block(file.open().get(), text, length));
    EXPECT_EQ(text.substr(0, length), written(row));
}

std::string subject(const std::string& own_subject) {
    ResponderRow row;
    row.subject = own_subject;
    return reply_subject(first_message(), row);
}

TEST(ReplySubject, EmptySubjectBecomesReAndTheIncomingOne) {
    EXPECT_EQ(subject(""), "Re: A question");
    const Mail_content without_subject;
    EXPECT_EQ(reply_subject(without_subject, {}), "Re: ");
}

TEST(ReplySubject, EveryPlaceholderIsFilledIn) {
    EXPECT_EQ(subject("<request_from>"), "ann@correspondent.example");
    EXPECT_EQ(subject("<orig_emails_sender_mailname>"), "ann@correspondent.example");
    EXPECT_EQ(subject("[<request_subject>]"), "[A question]");
    EXPECT_EQ(subject("<orig_emails_subj>, <incoming_message_subject>"), "A question, A question");
}

TEST(ReplySubject, PlaceholdersKeepTheValuesOfTheFirstMessageOfTheProcess) {
    // In a process of its own, whose first message is this one.
    const auto answer_two_messages = [] {
        const auto made = [](const char* from, const char* subject) {
            Mail_content content;
            content.from = from;
            content.subject = subject;
            return content;
        };
        static const Mail_content first = made("first@a.example", "One");
        const Mail_content second = made("second@b.example", "Two");
        ResponderRow row;
        row.subject =
            "<request_from> <request_subject> <orig_emails_sender_mailname> <orig_emails_subj> "
            "<incoming_message_subject>";
        std::cerr << reply_subject(first, row) << "\n";
        std::cerr << reply_subject(second, row) << "\n";
        std::cerr << reply_subject(second, {}) << "\n";
        std::exit(EXIT_SUCCESS);
    };
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(answer_two_messages(), testing::ExitedWithCode(EXIT_SUCCESS),
                "^first@a.example One first@a.example One One\n"
                "first@a.example One first@a.example One One\n"
                "Re: Two\n$");
}

TEST(ReplySubject, UnknownEmptyAndOverlongNamesStayAsWritten) {
    EXPECT_EQ(subject("<unknown> <>"), "<unknown> <>");
    const std::string overlong = "<" + std::string(33, 'x') + ">";
    EXPECT_EQ(subject(overlong), overlong);
}

TEST(ReplySubject, IsCutAt999BytesInTheMiddleOfAValueIfNeedBe) {
    EXPECT_EQ(subject(std::string(990, 'x') + "<request_subject>"),
              std::string(990, 'x') + "A questio");
    EXPECT_EQ(subject(std::string(1500, 'x')), std::string(999, 'x'));
}

TEST(Boundary, IsEightHyphensEqualsUnderscoreAndTwentyNineLetters) {
    const std::string boundary = makeBoundaryStr();
    ASSERT_EQ(boundary.size(), 39U);
    EXPECT_EQ(boundary.substr(0, 10), "--------=_");
    for (const char c : boundary.substr(10)) {
        EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(c))) << boundary;
    }
}

TEST(Boundary, NumbersBelowTwentySixYieldCapitalsTheOthersSmallLetters) {
    std::srand(1);
    std::string expected = "--------=_";
    for (int i = 0; i < 29; ++i) {
        expected += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"[std::rand() % 52];
    }
    std::srand(1);
    EXPECT_EQ(makeBoundaryStr(), expected);
}

TEST(Boundary, EachCallTakesTheNextNumbers) {
    const std::string first = makeBoundaryStr();
    EXPECT_NE(makeBoundaryStr(), first);
}

}  // namespace
