// SPDX-License-Identifier: Apache-2.0

// The reply's bytes: subject, headers, text.

#include <sys/resource.h>

#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

using testing::SizeIs;

class Response : public World {
  protected:
    // The reply of a responder with these columns to a message with this subject.
    std::string reply(const std::string& columns, const std::string& subject = "Hello",
                      const std::string& recipient = "user@example.com") {
        add_responder(1, columns);
        const Outcome outcome = answer(message_with({"Subject: " + subject}), recipient);
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.size() == 1 ? outcome.mails[0].message : "(none)";
    }

    // The text of the reply's Subject field for a responder with this subject.
    std::string subject_from(const std::string& responder_subject,
                             const std::string& incoming = "Hello") {
        sql("delete from mail_resp");
        const std::string whole =
            reply("subject=" + database().quoted(responder_subject), incoming);
        const std::size_t begin = whole.find("\nSubject: ") + 10;
        return whole.substr(begin, whole.find('\n', begin) - begin);
    }
};

TEST_F(Response, EveryHeaderStandsInItsPlace) {
    EXPECT_EQ(reply("text='<p>Gone</p>', reply_to='desk@example.com', subject='Away', "
                    "charset='utf-8', content_type='text/html'"),
              "Reply-To: desk@example.com\n"
              "From: user@example.com\n"
              "To: sender@example.org\n"
              "MIME-Version: 1.0\n"
              "Subject: Away\n"
              "Content-Type: text/html; charset=\"utf-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "<p>Gone</p>\n\n\n");
}

TEST_F(Response, WithoutAttachmentsThereIsNoBoundary) {
    const std::string message = reply("text='Gone fishing.'");
    EXPECT_EQ(message, plain_reply());
    EXPECT_EQ(message.find("boundary"), std::string::npos);
    EXPECT_EQ(message.find("--"), std::string::npos);
}

TEST_F(Response, EmptySubjectsYieldABareRe) {
    EXPECT_EQ(reply("text='Gone fishing.', subject=''", ""), plain_reply("Re: "));
}

TEST_F(Response, ASubjectThatNeedsItIsOneEncodedWord) {
    EXPECT_EQ(subject_from("", "Grüße"), "=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?=");
    EXPECT_EQ(subject_from("a-b"), "=?utf-8?Q?a=2Db?=");
    EXPECT_EQ(subject_from(" a-b"), " =?utf-8?Q?a=2Db?=");
    EXPECT_EQ(subject_from("Away (" + std::string(200, 'x') + ")"),
              "=?utf-8?Q?Away_=28" + std::string(200, 'x') + "=29?=");
}

TEST_F(Response, PlaceholdersInTheSubjectAreReplaced) {
    EXPECT_EQ(subject_from("<request_from>"), "sender@example.org");
    EXPECT_EQ(subject_from("<orig_emails_sender_mailname>"), "sender@example.org");
    EXPECT_EQ(subject_from("Away: <request_subject>."), "Away: Hello.");
    EXPECT_EQ(subject_from("<orig_emails_subj> <incoming_message_subject>"), "Hello Hello");
}

TEST_F(Response, APlaceholderOfAnEmptySubjectDisappears) {
    EXPECT_EQ(subject_from("Away<request_subject>.", ""), "Away.");
}

TEST_F(Response, UnknownAndMalformedPlaceholdersStay) {
    EXPECT_EQ(subject_from("<> <nobody> < x>"), "<> <nobody> < x>");
    EXPECT_EQ(subject_from("<aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa>"),
              "<aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa>");
    EXPECT_EQ(subject_from("<<request_from>"), "=?utf-8?Q?<<request=5Ffrom>?=");
    EXPECT_EQ(subject_from("open <"), "open <");
}

TEST_F(Response, AValueIsNotScannedForPlaceholders) {
    EXPECT_EQ(subject_from("<request_subject>", "<nobody> <request>"), "<nobody> <request>");
}

TEST_F(Response, ASubjectFromATemplateIsCutAt999Characters) {
    const std::string incoming(400, 's');
    EXPECT_EQ(subject_from("<request_subject><request_subject><request_subject>", incoming),
              std::string(999, 's'));
    EXPECT_EQ(subject_from(std::string(998, 'a') + "<request_subject>", "xyz"),
              std::string(998, 'a') + "x");
    EXPECT_EQ(subject_from(std::string(1500, 'b')), std::string(999, 'b'));
}

TEST_F(Response, ASubjectWithoutATemplateIsNotCut) {
    EXPECT_EQ(subject_from("", std::string(2000, 's')), "Re: " + std::string(2000, 's'));
}

TEST_F(Response, PlaceholdersInTheTextStay) {
    EXPECT_EQ(reply("text='Dear <request_from>'"), plain_reply("Re: Hello", "Dear <request_from>"));
}

TEST_F(Response, EveryRowOfARunReplacesPlaceholders) {
    add_responder(1, "subject='1 <request_subject>', text=''");
    add_responder(2, "subject='2 <request_from>', text=''");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("1 Hello", ""));
    EXPECT_EQ(outcome.mails[1].message, plain_reply("2 sender@example.org", ""));
}

TEST_F(Response, TheTextIsRecodedIntoTheRespondersCharset) {
    EXPECT_THAT(reply("text='Привет', charset='KOI8-R'"),
                testing::EndsWith("Content-Type: text/plain; charset=\"KOI8-R\"\n"
                                  "Content-Transfer-Encoding: 8bit\n"
                                  "Content-Disposition: inline\n"
                                  "\n"
                                  "\xf0\xd2\xc9\xd7\xc5\xd4\n\n\n"));
}

TEST_F(Response, ATextThatTheCharsetLacksGetsQuestionMarks) {
    EXPECT_THAT(reply("text='aüb', charset='US-ASCII'"),
                testing::EndsWith("Content-Type: text/plain; charset=\"US-ASCII\"\n"
                                  "Content-Transfer-Encoding: 8bit\n"
                                  "Content-Disposition: inline\n"
                                  "\n"
                                  "a??b\n\n\n"));
}

TEST_F(Response, ATextForAnUnknownCharsetStaysUtf8Silently) {
    EXPECT_EQ(reply("text='Grüße', charset='no-such-charset'"), plain_reply("Re: Hello", "Grüße"));
}

TEST_F(Response, ATextWhoseConversionFindsNoMemoryStaysUtf8) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    // In UTF-32 the text is four times as long: at some limits only that is too much.
    const std::string text(6'000'000, 'x');
    add_responder(1, "text=repeat('x', 6000000), charset='UTF-32', ans_freq='1000'");
    bool converted = false;
    bool unconverted = false;
    for (rlim_t limit = 32U << 20U; !converted; limit += 4U << 20U) {
        SCOPED_TRACE(limit);
        ASSERT_LT(limit, 1U << 30U);
        const Outcome outcome = run({.message = plain_message(), .limits = {{RLIMIT_AS, limit}}});
        EXPECT_TRUE(outcome.mails.size() == 1 || !outcome.err.empty()) << "silent loss";
        if (outcome.mails.size() == 1) {
            EXPECT_EQ(outcome.err, "");
            converted = outcome.mails[0].message.find("charset=\"UTF-32\"") != std::string::npos;
            if (!converted) {
                EXPECT_TRUE(outcome.mails[0].message == plain_reply("Re: Hello", text));
                unconverted = true;
            }
        }
    }
    EXPECT_TRUE(unconverted);
}

TEST_F(Response, AnInternationalOwnAddressIsAsciiInFromAndEnvelope) {
    sql("update domains set name='пример.example'");
    add_responder(1);
    const Outcome outcome = answer(plain_message(), "user@пример.example");
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    // The address as a whole is converted as if it were a domain name, local part and all.
    const std::string& from = outcome.mails[0].arguments[2];
    EXPECT_THAT(from, testing::MatchesRegex("xn--[ -~]+\\.example"));
    EXPECT_THAT(outcome.mails[0].message,
                testing::StartsWith("From: " + from + "\nTo: sender@example.org\n"));
}

TEST_F(Response, AnOwnAddressThatIdnRefusesIsLeftOutOfTheReplyAndStopsItsSending) {
    // A label of more than 63 characters.
    const std::string name(70, 'a');
    sql("update domains set name='" + name + ".example'");
    add_responder(1);
    const Outcome outcome = answer(plain_message(), "user@" + name + ".example");
    EXPECT_THAT(outcome.mails, testing::IsEmpty());
    // Once for the From field, once for the envelope.
    EXPECT_EQ(outcome.err,
              "autoresponder: IDN conversion error: Invalid length\n"
              "autoresponder: IDN conversion error: Invalid length\n");
    EXPECT_EQ(outcome.out, outcome.err);
}

TEST_F(Response, AfterAnAddressThatIdnRefusesTheNextRowFollows) {
    const std::string name(70, 'a');
    sql("update domains set name='" + name + ".example'");
    add_responder(1);
    add_responder(2);
    add_forward(2, "copy@example.net");
    const Outcome outcome = answer(plain_message(), "user@" + name + ".example");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments.back(), "copy@example.net");
}

TEST_F(Response, AParserReadsBackSubjectAndText) {
    const std::string message = reply(
        "text='Привет, мир', charset='KOI8-R', subject='Ответ: <request_subject>', "
        "reply_to='desk@example.com'",
        "=?iso-8859-1?Q?Gr=FC=DFe_?= =?utf-8?Q?(a-b)?=");
    const ReadMail mail = read_mail(message);
    EXPECT_EQ(mail.subject, "Ответ: Grüße (a-b)");
    EXPECT_EQ(mail.text, "Привет, мир\n\n\n");
    EXPECT_EQ(mail.text_type, "text/plain");
    EXPECT_EQ(mail.from, "user@example.com");
    EXPECT_EQ(mail.to, "sender@example.org");
    EXPECT_EQ(mail.reply_to, "desk@example.com");
    EXPECT_THAT(mail.attachments, testing::IsEmpty());
}

TEST_F(Response, AParserReadsBackALongSubjectAndALongText) {
    const std::string subject = "Größe " + std::string(700, 'x');
    std::string text;
    while (text.size() < 300'000) {
        text += "A line of text with a ß in it.\n";
    }
    const ReadMail mail = read_mail(reply("text=" + database().quoted(text), subject));
    EXPECT_EQ(mail.subject, "Re: " + subject);
    EXPECT_EQ(mail.text, text + "\n\n\n");
}

TEST_F(Response, AnEndlessCharsetNameDoesNoHarm) {
    EXPECT_EQ(reply("text='x', charset=repeat('n', 100)"), plain_reply("Re: Hello", "x"));
}

TEST_F(Response, ValuesOfThePanelWithControlCharactersWriteNoHeaders) {
    add_responder(1);
    add_forward(1, "copy@example.net");
    // Before anything is sent, so that it stands before what the mail program says.
    replace_mail_program("echo sent >&2; \"$CAPTURE\" \"$@\"\n");
    const std::string lines =
        "autoresponder: Responder 1: reply_to holds a control character, left out\n"
        "autoresponder: Responder 1: charset holds a control character, UTF-8 used\n"
        "autoresponder: Responder 1: content_type holds a control character, text/plain used\n";
    for (const char* control : {"\\n", "\\r", "\\t", "\\0", "\x7f"}) {
        SCOPED_TRACE(control);
        const std::string value = std::string("'a") + control + "Bcc: all@example.com'";
        for (const char* column : {"reply_to", "charset", "content_type"}) {
            sql(std::string("update mail_resp set ").append(column).append("=").append(value));
        }
        sql("delete from resp_freq");
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, lines + "sent\nsent\n");
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_EQ(outcome.mails[1].message, plain_reply());
    }
}

TEST_F(Response, ACharsetThatWouldEndItsQuotationIsReplaced) {
    add_responder(1,
                  "text='Gr\xc3\xbc\xc3\x9f"
                  "e'");
    for (const std::string charset :
         {"KOI8-R\"; name=\"x", "\"", "\\", "utf-8\\", "\"UTF-8\"", "KOI8-R\\\"; x=y"}) {
        SCOPED_TRACE(charset);
        sql("update mail_resp set charset=" + database().quoted(charset));
        sql("delete from resp_freq");
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err,
                  "autoresponder: Responder 1: charset holds a quote or backslash, UTF-8 used\n");
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].message, plain_reply("Re: Hello",
                                                        "Gr\xc3\xbc\xc3\x9f"
                                                        "e"));
    }
}

TEST_F(Response, ACharsetWithAQuoteAndAControlCharacterIsReportedForTheLatter) {
    add_responder(1, "text='Gone fishing.', charset='KOI8-R\"\nBcc: all@example.com\\\\'");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Responder 1: charset holds a control character, UTF-8 used\n");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
}

TEST_F(Response, ARowThatDoesNotAnswerIsNotReportedForItsValues) {
    add_responder(1);
    sql("update mail_resp set reply_to='a\\nb', ans_freq='0'");
    EXPECT_EQ(answer(plain_message()).err, "");
    sql("update mail_resp set reply_to='a\\nb', ans_freq='1', resp_on='false'");
    EXPECT_EQ(answer(plain_message()).err, "");
}

}  // namespace
