// SPDX-License-Identifier: Apache-2.0

// Sending the incoming message on to the addresses of a responder.

#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

class Forward : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }
};

TEST_F(Forward, WithoutAddressesNothingIsSentOn) {
    add_forward(2, "other@example.net");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    EXPECT_THAT(statements(), testing::Contains("select address from resp_forward where rn_id=1"));
}

TEST_F(Forward, NullAddressesAloneSendNothingOn) {
    sql("insert into resp_forward set rn_id=1, address=NULL");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
}

TEST_F(Forward, AnEmptyAddressIsHandedOn) {
    add_forward(1, "");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.mails[0].arguments,
                ElementsAre("/usr/sbin/sendmail", "-f", "user@example.com", ""));
}

TEST_F(Forward, OneMailProgramGetsAllAddressesInRowOrderBeforeTheReply) {
    add_forward(1, "b@example.net");
    sql("insert into resp_forward set rn_id=1, address=NULL");
    add_forward(1, "c@example.net");
    add_forward(1, "a@example.net");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.mails[0].arguments,
                ElementsAre("/usr/sbin/sendmail", "-f", "user@example.com", "b@example.net",
                            "c@example.net", "a@example.net"));
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
}

TEST_F(Forward, TheMessageGoesOnByteForByte) {
    using namespace std::string_view_literals;
    add_forward(1, "copy@example.net");
    const std::string message = std::string(
                                    "From sender@example.org Mon Jan  1 00:00:00 2024\r\n"
                                    "From: sender@example.org\r\n"
                                    "X-Odd:\t\x01\x02\xff\r\n\r\n") +
                                std::string("\0zero\0\r\n.\r\n..\r\rlone\n\xfe\n"sv);
    const Outcome outcome = answer(message);
    ASSERT_THAT(outcome.mails, SizeIs(testing::Ge(1U)));
    EXPECT_EQ(outcome.mails[0].message, message + "\n");
}

TEST_F(Forward, ALargeMessageGoesOnWhole) {
    add_forward(1, "copy@example.net");
    std::string body;
    for (int i = 0; body.size() < 5'000'000; ++i) {
        body += "line " + std::to_string(i) + "\n";
    }
    const std::string message = message_with({"Subject: Hello"}, body);
    const Outcome outcome = answer(message);
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_TRUE(outcome.mails[0].message == message + "\n");
}

TEST_F(Forward, TheCopyOnDiskIsPrivate) {
    add_forward(1, "copy@example.net");
    const Outcome outcome = run({.message = plain_message(), .umask = 0});
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].input_mode, unsigned{S_IFREG | S_IRUSR | S_IWUSR});
    EXPECT_THAT(outcome.mails[0].input_name, MatchesRegex("/tmp/tva-autoresponder-[A-Za-z0-9]+"));
}

TEST_F(Forward, TheOwnAddressIsTheEnvelopeSenderUnconverted) {
    sql("update domains set name='пример.example'");
    add_forward(1, "copy@example.net");
    const Outcome outcome = answer(plain_message(), "user@пример.example");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments[2], "user@пример.example");
}

TEST_F(Forward, AFailingQueryEndsTheRun) {
    lose_table("resp_forward");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to exec query :Table 'tva.resp_forward' doesn't exist\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(statements().back(), "select address from resp_forward where rn_id=1");
}

TEST_F(Forward, AddressesThatCannotBeReadEndTheRun) {
    add_forward(1, "copy@example.net");
    spoil_rows("resp_forward");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "autoresponder: Unable to exec query :" + kRowFailure + "\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(statements().back(), "select address from resp_forward where rn_id=1");
}

TEST_F(Forward, WithoutTheCopyOnDiskTheReplyIsStillSent) {
    // The first responder's mail program takes the copy away before the second one's forward.
    add_responder(2);
    add_forward(2, "copy@example.net");
    replace_mail_program("rm -f /tmp/tva-autoresponder-*; exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.err,
                MatchesRegex("autoresponder: Failed to open temporary file with forward mail "
                             "contents '/tmp/tva-autoresponder-[A-Za-z0-9]+': No such file or "
                             "directory .2.\n"));
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(Forward, ACopyThatIsCutShortIsForwardedSoAndSaid) {
    add_forward(1, "copy@example.net");
    const std::string message = message_with({"Subject: Hello"}, std::string(100'000, 'x'));
    replace_mail_program("ulimit -S -f unlimited; \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = run({.message = message, .limits = {{RLIMIT_FSIZE, 4096}}});
    EXPECT_EQ(outcome.err,
              "autoresponder: The copy of the message is cut short and is forwarded so: "
              "File too large (27)\n");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, message.substr(0, 4096));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(Forward, ACopyThatIsCutShortIsNotMentionedUnlessItIsForwarded) {
    const std::string message = message_with({"Subject: Hello"}, std::string(100'000, 'x'));
    replace_mail_program("ulimit -S -f unlimited; \"$CAPTURE\" \"$@\"\n");
    EXPECT_EQ(run({.message = message, .limits = {{RLIMIT_FSIZE, 4096}}}).err, "");
}

TEST_F(Forward, WithoutAddressesTheCopyIsNotOpened) {
    // The first responder's mail program puts a pipe in its place, at which somebody waits.
    add_responder(2);
    replace_mail_program(
        "copy=$(echo /tmp/tva-autoresponder-*); rm \"$copy\"; mkfifo \"$copy\"\n"
        "{ timeout 10 dd conv=nocreat of=\"$copy\" </dev/null && touch /world/opened; }"
        " >/dev/null 2>&1 &\n"
        "exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(2));
    EXPECT_FALSE(std::filesystem::exists("/world/opened"));
}

TEST_F(Forward, WithoutANewProcessTheRunGoesOn) {
    add_forward(1, "copy@example.net");
    const Outcome outcome = run({.message = plain_message(), .refuse_programs = true});
    EXPECT_THAT(outcome.err, HasSubstr("autoresponder: Failed to spawn sendmail for forwarding: "
                                       "Resource temporarily unavailable (11)\n"));
    EXPECT_THAT(outcome.err, HasSubstr("autoresponder: Failed to spawn sendmail for response: "));
}

TEST_F(Forward, AnAddressThatLooksLikeAnOptionGetsNothingAndTheReplyIsSent) {
    add_forward(1, "-oQ/tmp@example.net");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
    EXPECT_EQ(outcome.err,
              "autoresponder: Not forwarded to '-oQ/tmp@example.net': the address begins with a "
              "hyphen\n");
}

TEST_F(Forward, AnAddressWithAControlCharacterGetsNothingAndTheOthersDo) {
    add_forward(1, "a@example.net\nBcc: b@example.net");
    add_forward(1, "copy@example.net");
    add_forward(1, "a" + std::string(1, '\0') + "@example.net");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.mails[0].arguments,
                ElementsAre("/usr/sbin/sendmail", "-f", "user@example.com", "copy@example.net"));
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
    EXPECT_EQ(outcome.err,
              "autoresponder: Not forwarded to 'a@example.net?Bcc: b@example.net': the address "
              "holds a control character\n"
              "autoresponder: Not forwarded to 'a?@example.net': the address holds a control "
              "character\n");
}

}  // namespace
