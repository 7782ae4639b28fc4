// SPDX-License-Identifier: Apache-2.0

// What the program makes of the incoming message: sender, recipient, subject, body.

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kNoSender =
    "Could not get sender's e-mail address from Reply-To: or From: headers.\nAbnormal exit.\n";

class Incoming : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    // The address that is answered, or what went to standard error.
    std::string answered(const std::string& message) {
        const Outcome outcome = answer(message);
        return outcome.mails.empty() ? outcome.err : outcome.mails[0].arguments.back();
    }

    // Whether `key` is found in the body of the message.
    bool body_holds(const std::string& message, const std::string& key) {
        sql("update mail_resp set key_where='body', keystr=" + database().quoted(key));
        return !answer(message).mails.empty();
    }

    // The subject of the reply to a message with this Subject field.
    std::string reply_subject(const std::string& subject) {
        const Outcome outcome = answer(message_with({"Subject: " + subject}));
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.mails, SizeIs(1));
        const std::string& reply = outcome.mails.at(0).message;
        const std::size_t begin = reply.find("\nSubject: ") + 10;
        return reply.substr(begin, reply.find('\n', begin) - begin);
    }
};

std::string multipart(std::string_view parts) {
    return "From: sender@example.org\n"
           "Content-Type: multipart/alternative; boundary=edge\n\n"
           "preamble\n" +
           std::string(parts) + "--edge--\nepilogue\n";
}

TEST_F(Incoming, WithoutATemporaryFileTheRunEnds) {
    const SmallTmp tmp("nr_inodes=1");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "Could not create a temporary file.\nAbnormal exit.\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Incoming, AnInputThatCannotBeReadIsReported) {
    const Outcome outcome = run({.message = "", .input_path = "/etc"});
    EXPECT_EQ(outcome.err,
              std::string("autoresponder: Failed to read the message: Is a directory (21)\n") +
                  kNoSender);
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Incoming, AnInputThatBreaksOffIsReportedAndAnsweredAsFarAsItCame) {
    add_forward(1, "copy@example.net");
    // A socket whose other end closes without having read what was sent to it breaks off.
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const std::string part = "From: sender@example.org\nSubject: Hello\n\nAre you";
    ASSERT_EQ(write(ends[0], part.data(), part.size()), static_cast<ssize_t>(part.size()));
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    close(ends[0]);
    const Outcome outcome = run({.input_fd = ends[1]});
    close(ends[1]);
    EXPECT_EQ(outcome.err,
              "autoresponder: Failed to read the message: Connection reset by peer (104)\n");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, part + "\n");
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(Incoming, ReplyToComesBeforeFrom) {
    EXPECT_EQ(answered(message_with({"Reply-To: Ann <ann@example.net>"})), "ann@example.net");
}

TEST_F(Incoming, ReplyToWithOnlyAGroupFallsBackToFrom) {
    EXPECT_EQ(answered(message_with({"Reply-To: friends: ann@example.net, bob@example.net;"})),
              "sender@example.org");
}

TEST_F(Incoming, ReplyToWithOnlyAnInvalidAddressFallsBackToFrom) {
    EXPECT_EQ(answered(message_with({"Reply-To: <>"})), "sender@example.org");
    EXPECT_EQ(answered(message_with({"Reply-To: @example.net"})), "sender@example.org");
    EXPECT_EQ(answered(message_with({"Reply-To:"})), "sender@example.org");
}

TEST_F(Incoming, ReplyToWithAGroupBeforeAMailboxYieldsTheMailbox) {
    EXPECT_EQ(answered(message_with({"Reply-To: friends: ann@example.net;, bob@example.net"})),
              "bob@example.net");
}

TEST_F(Incoming, ReplyToAloneIsEnough) {
    EXPECT_EQ(answered("Reply-To: ann@example.net\n\nHello\n"), "ann@example.net");
}

TEST_F(Incoming, FromWithSeveralMailboxesYieldsTheFirst) {
    EXPECT_EQ(answered("From: Ann <ann@example.net>, bob@example.net\n\nHello\n"),
              "ann@example.net");
}

TEST_F(Incoming, FromWithAnInvalidFirstMailboxYieldsTheNext) {
    EXPECT_EQ(answered("From: <@example.net>, bob@example.net\n\nHello\n"), "bob@example.net");
}

TEST_F(Incoming, TheSenderIsNeitherDecodedNorLowered) {
    EXPECT_EQ(answered("From: =?utf-8?Q?Ann?= (comment) <Ann.Lee@EXAMPLE.Net>\n\nHello\n"),
              "Ann.Lee@EXAMPLE.Net");
    EXPECT_EQ(answered("From: \"Ann Lee\"@example.net\n\nHello\n"), "\"Ann Lee\"@example.net");
}

TEST_F(Incoming, ASenderWithoutADomainEndsInAnAtSign) {
    EXPECT_EQ(answered("From: ann\n\nHello\n"), "ann@");
}

TEST_F(Incoming, WithoutAUsableSenderTheRunEnds) {
    for (const char* message : {"Subject: Hello\n\nHello\n", "From:\n\nHello\n",
                                "From: <>\nReply-To: group:;\n\nHello\n", "Hello\n", "\n"}) {
        SCOPED_TRACE(message);
        EXPECT_EQ(answered(message), kNoSender);
    }
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Incoming, WithoutARecipientTheRunEnds) {
    const Outcome outcome = run({.message = plain_message(), .recipient = std::nullopt});
    EXPECT_EQ(outcome.err,
              "Could not get recipient e-mail address from RESP_RECIPIENT environment variable\n"
              "Abnormal exit.\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Incoming, WithNeitherSenderNorRecipientOnlyTheSenderIsReported) {
    EXPECT_EQ(run({.message = "\n", .recipient = std::nullopt}).err, kNoSender);
}

TEST_F(Incoming, ARecipientWithoutAnAtSignIsMailNameAndDomainAlike) {
    EXPECT_EQ(answer(plain_message(), "user").err,
              "autoresponder: Mailname not found: user@user\n");
    sql("insert into domains set id=2, name='user', cl_id=1");
    sql("update mail set dom_id=2");
    const Outcome outcome = answer(plain_message(), "user");
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments[2], "user");
}

TEST_F(Incoming, ARecipientIsSplitAtItsFirstAtSign) {
    EXPECT_EQ(answer(plain_message(), "a@b@example.com").err,
              "autoresponder: Mailname not found: a@b@example.com\n");
    EXPECT_THAT(statements().front(), testing::EndsWith("d.name='b@example.com' and "
                                                        "m.mail_name='a'"));
}

TEST_F(Incoming, AnEmptyRecipientFindsNoMailbox) {
    EXPECT_EQ(answer(plain_message(), "").err, "autoresponder: Mailname not found: @\n");
}

TEST_F(Incoming, ASubjectOfEncodedWordsIsDecoded) {
    EXPECT_EQ(reply_subject("=?utf-8?Q?a?= =?utf-8?Q?b?="), "Re: ab");
    EXPECT_EQ(reply_subject("x =?utf-8?Q?a?="), "Re: x a");
    EXPECT_EQ(reply_subject("=?iso-8859-1?Q?caf=E9?="), "=?utf-8?Q?Re:_caf=C3=A9?=");
    EXPECT_EQ(reply_subject("=?koi8-r?B?8NLJ18XU?="),
              "=?utf-8?Q?Re:_=D0=9F=D1=80=D0=B8=D0=B2=D0=B5=D1=82?=");
}

TEST_F(Incoming, AMissingSubjectIsEmpty) {
    const Outcome outcome = answer(message_with({}));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("Re: "));
}

TEST_F(Incoming, BlanksAfterASubjectAreCut) {
    EXPECT_EQ(reply_subject("Hello \t  "), "Re: Hello");
    EXPECT_EQ(reply_subject("Hello \n \n\t"), "Re: Hello");
    EXPECT_EQ(reply_subject("=?utf-8?Q?Hello?= "), "Re: Hello");
    EXPECT_EQ(reply_subject("   "), "Re: ");
}

TEST_F(Incoming, BlanksWithinAnEncodedWordAreKept) {
    EXPECT_EQ(reply_subject("=?utf-8?Q?Hello__?="), "Re: Hello  ");
}

TEST_F(Incoming, AFoldedSubjectKeepsItsLineEndEncoded) {
    EXPECT_EQ(reply_subject("Hello\n there"), "=?utf-8?Q?Re:_Hello=0A_there?=");
}

TEST_F(Incoming, AnUndecodableSubjectIsEmptyAndNamesTheCharsetOfTheBody) {
    const Outcome outcome = answer(
        message_with({"Subject: =?no-such?Q?a?=", "Content-Type: text/plain; charset=koi8-r"}));
    EXPECT_EQ(outcome.err, "Could not convert message subject text from koi8-r to UTF-8.\n");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("Re: "));
}

TEST_F(Incoming, AMalformedEncodedWordIsReportedAndKept) {
    const Outcome outcome = answer(message_with({"Subject: =?utf-8"}));
    EXPECT_EQ(outcome.err, "wrong rfc1522 sequence (no charset): =?utf-8\n");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply("=?utf-8?Q?Re:_=3D=3Futf=2D8?="));
}

TEST_F(Incoming, ABodyWithoutATypeIsText) {
    EXPECT_TRUE(body_holds(message_with({}, "the key word\n"), "the key word"));
}

TEST_F(Incoming, ABodyOfAnyTextTypeIsTaken) {
    EXPECT_TRUE(body_holds(message_with({"Content-Type: text/html"}, "<b>key</b>\n"), "key"));
    EXPECT_TRUE(body_holds(message_with({"Content-Type: TEXT/X-Odd"}, "key\n"), "key"));
}

TEST_F(Incoming, AnotherTypeYieldsAnEmptyBodyOfOneLine) {
    const std::string message = message_with({"Content-Type: application/octet-stream"}, "key\n");
    EXPECT_FALSE(body_holds(message, "key"));
    EXPECT_TRUE(body_holds(message, ""));
}

TEST_F(Incoming, AnotherTypeHasTheCharsetUsAscii) {
    const Outcome outcome = answer(message_with(
        {"Subject: =?no-such?Q?a?=", "Content-Type: application/octet-stream; charset=koi8-r"}));
    EXPECT_EQ(outcome.err, "Could not convert message subject text from US-ASCII to UTF-8.\n");
}

TEST_F(Incoming, BodiesAreSearchedLineByLine) {
    const std::string message = message_with({}, "one\ntwo\n");
    EXPECT_TRUE(body_holds(message, "two"));
    EXPECT_FALSE(body_holds(message, "one\ntwo"));
}

TEST_F(Incoming, TransferEncodingsAreUndone) {
    EXPECT_TRUE(body_holds(
        message_with({"Content-Transfer-Encoding: base64"}, "dGhlIGtleSB3b3Jk\n"), "key word"));
    EXPECT_TRUE(body_holds(
        message_with({"Content-Transfer-Encoding: Quoted-Printable"}, "the k=65y=\n word\n"),
        "the key word"));
    EXPECT_TRUE(body_holds(message_with({"Content-Transfer-Encoding: x-odd"}, "a=65\n"), "a=65"));
}

TEST_F(Incoming, TheBodyIsConvertedToUtf8) {
    EXPECT_TRUE(body_holds(
        message_with({"Content-Type: text/plain; CHARSET=koi8-r"}, "\xf0\xd2\xc9\xd7\xc5\xd4\n"),
        "Привет"));
    EXPECT_TRUE(
        body_holds(message_with({"Content-Type: text/plain; format=flowed; charset=\"ISO-8859-1\""},
                                "caf\xe9\n"),
                   "café"));
}

TEST_F(Incoming, ABodyOfAnUnknownCharsetIsTakenUnchanged) {
    sql("update mail_resp set key_where='body', keystr='key'");
    const Outcome outcome =
        answer(message_with({"Content-Type: text/plain; CHARSET=No-Such"}, "caf\xe9 key\n"));
    EXPECT_EQ(outcome.err, "Could not convert message body text from No-Such to UTF-8.\n");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Incoming, BytesThatAreInvalidInTheCharsetBecomeQuestionMarks) {
    EXPECT_TRUE(body_holds(message_with({"Content-Type: text/plain; charset=utf-8"}, "a\xff key\n"),
                           "a? key"));
    EXPECT_TRUE(body_holds(message_with({}, "caf\xe9 key\n"), "caf? key"));
}

TEST_F(Incoming, ACharsetThatIgnoresInvalidBytesEnds) {
    EXPECT_TRUE(body_holds(
        message_with({"Content-Type: text/plain; charset=\"us-ascii//IGNORE\""}, "key \xe9\xe9"),
        "key"));
}

TEST_F(Incoming, ZeroBytesInABodyHideNothingAfterThem) {
    using namespace std::string_view_literals;
    EXPECT_TRUE(body_holds(message_with({}, "a\0b key\0\n"sv), "key"));
    // "key" in UTF-16LE and in base64.
    EXPECT_TRUE(body_holds(message_with({"Content-Type: text/plain; charset=UTF-16LE",
                                         "Content-Transfer-Encoding: base64"},
                                        "YQBrAGUAeQA=\n"),
                           "akey"));
    // The line feed that the program adds at the end completes the last character.
    EXPECT_TRUE(body_holds(
        message_with({"Content-Type: text/plain; charset=UTF-16BE"}, "\0k\0e\0y\0\n\0!\0"sv),
        "key"));
}

TEST_F(Incoming, AnIncompleteCharacterAtTheEndLeavesTheBodyUnconverted) {
    using namespace std::string_view_literals;
    sql("update mail_resp set key_where='body', keystr='key'");
    const Outcome outcome =
        answer(message_with({"Content-Type: text/plain; charset=UTF-16LE"}, "k\0e\0y\0 key"sv));
    EXPECT_EQ(outcome.err, "Could not convert message body text from UTF-16LE to UTF-8.\n");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Incoming, AlternativesYieldTheFirstTextPart) {
    const std::string plain = "--edge\nContent-Type: text/plain\n\nin plain\n";
    const std::string html = "--edge\nContent-Type: text/html\n\nin html\n";
    EXPECT_TRUE(body_holds(multipart(plain + html), "in plain"));
    EXPECT_FALSE(body_holds(multipart(plain + html), "in html"));
    EXPECT_TRUE(body_holds(multipart(html + plain), "in html"));
    EXPECT_FALSE(body_holds(multipart(html + plain), "in plain"));
}

TEST_F(Incoming, APartWithoutATypeIsPassedOver) {
    const std::string message =
        multipart("--edge\n\nuntyped\n--edge\nContent-Type: text/plain\n\ntyped\n");
    EXPECT_TRUE(body_holds(message, "typed"));
    EXPECT_FALSE(body_holds(message, "untyped"));
}

TEST_F(Incoming, APartBringsItsOwnCharsetAndEncoding) {
    EXPECT_TRUE(body_holds(multipart("--edge\nContent-Type: image/png\n\nnot this\n"
                                     "--edge\nContent-Type: text/plain; charset=iso-8859-1\n"
                                     "Content-Transfer-Encoding: quoted-printable\n\ncaf=E9\n"),
                           "caf"));
}

TEST_F(Incoming, NestedPartsAreNotEntered) {
    const std::string message = multipart(
        "--edge\nContent-Type: multipart/mixed; boundary=inner\n\n"
        "--inner\nContent-Type: text/plain\n\nwithin\n--inner--\n");
    EXPECT_FALSE(body_holds(message, "within"));
    EXPECT_TRUE(body_holds(message, ""));
}

TEST_F(Incoming, TheStoredMessageGetsAnEmptyLineAtItsEnd) {
    add_forward(1, "copy@example.net");
    const Outcome outcome = answer(message_with({}, "text\n"));
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, message_with({}, "text\n") + "\n");
}

TEST_F(Incoming, TheStoredMessageGetsALineEndWhereItsLastLineHasNone) {
    add_forward(1, "copy@example.net");
    const Outcome outcome = answer(message_with({}, "text"));
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, message_with({}, "text\n"));
}

TEST_F(Incoming, ALargeMessageIsAnswered) {
    std::string body;
    while (body.size() < 20'000'000) {
        body.append("A line of an ordinary length, as people write them, and some more words.\n");
    }
    EXPECT_TRUE(body_holds(message_with({}, body + "key\n"), "key"));
}

TEST_F(Incoming, DeeplyNestedPartsAndCommentsCostNothing) {
    std::string headers;
    std::string begins;
    for (int depth = 0; depth < 20'000; ++depth) {
        const std::string name = std::to_string(depth);
        begins += "--" + name +
                  "\nContent-Type: multipart/mixed; boundary=" + std::to_string(depth + 1) + "\n\n";
    }
    EXPECT_EQ(answered("From: sender@example.org\nContent-Type: multipart/mixed; boundary=0\n\n" +
                       begins),
              "sender@example.org");
    EXPECT_EQ(answered("From: " + std::string(200'000, '(') + "\n\n"), kNoSender);
    EXPECT_EQ(answered("From: " + std::string(200'000, '(') + std::string(200'000, ')') +
                       " sender@example.org\n\n"),
              "sender@example.org");
}

}  // namespace
