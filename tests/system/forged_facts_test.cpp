// SPDX-License-Identifier: Apache-2.0

// What a captured reader says of its message need not be true, nor make sense. What it says is used
// as that of any message is, or it ends the run in order.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/reader/reading.h"
#include "core/run/confined_process.h"
#include "tests/system/captured_reader.h"

namespace {

using autoresponder::ConfinedEnd;
using autoresponder::Fact;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::string_view_literals;

// The process's own kinds, before those of its work.
constexpr std::uint32_t kDone = ConfinedEnd::kFirstFreeKind - 4;
constexpr std::uint32_t kThrown = kDone + 1;
constexpr std::uint32_t kMemoryExhausted = kDone + 2;
constexpr std::uint32_t kRightsKept = kDone + 3;

class ForgedFacts : public CapturedProcess {
  protected:
    using CapturedProcess::item;

    static std::string item(Fact fact, std::string_view bytes) {
        return item(static_cast<std::uint32_t>(fact), bytes);
    }

    static std::string done() { return item(kDone, ""); }

    // The facts of an ordinary message.
    static std::string sender() { return item(Fact::kSender, "sender@example.org"); }
    static std::string subject() { return item(Fact::kSubject, "Hello"); }

    // A run whose reader says this instead of the truth, and ends.
    static std::string saying(const std::string& items) {
        return "say " + hexadecimal(items) + ";end 0";
    }

    Outcome run_with(const std::string& items) { return run(invocation_for(saying(items))); }

    // The same with a reader that stays where it is, as it is asked questions.
    Outcome run_with_answers(const std::string& items) {
        return run(invocation_for("say " + hexadecimal(items) + ";sleep-on-futex 100"));
    }

    void expect_no_sense(const std::string& items) {
        expect_unread(saying(items), "the reading process gave an answer that makes no sense");
    }

    static void answer_only_people() {
        write_file("/etc/tva/tva.conf", "AUTORESPONDER_ONLY_PEOPLE true\n");
    }

    // The fields of the reply where only people are answered.
    static std::string personal_reply(const std::string& marks) {
        std::string reply = plain_reply();
        return reply.insert(reply.find("Content-Type:"), "Auto-Submitted: auto-replied\n" + marks);
    }
};

TEST_F(ForgedFacts, AreTakenForTheMessage) {
    const Outcome outcome =
        run_with(item(Fact::kSender, "victim@example.net") + item(Fact::kSubject, "Any ") +
                 item(Fact::kSubject, "subject") + done());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].arguments,
                ElementsAre("/usr/sbin/sendmail", "-f", "user@example.com", "victim@example.net"));
    std::string expected = plain_reply("Re: Any subject");
    expected.replace(expected.find("sender@example.org"), 18, "victim@example.net");
    EXPECT_EQ(outcome.mails[0].message, expected);
}

TEST_F(ForgedFacts, OfASenderReachNeitherHeadersNorOptions) {
    for (const std::string_view forged :
         {"a@example.org\nBcc: b@example.org"sv, "a@example.org\r\nBcc: b@example.org"sv,
          "a@example.org\rX"sv, "-oQ/tmp@example.org"sv, "--@"sv, "a@example.org\0b"sv}) {
        SCOPED_TRACE(forged);
        const Outcome outcome = run_with(item(Fact::kSender, forged) + subject() + done());
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(outcome.err, testing::MatchesRegex(
                                     "autoresponder: Send error: No reply to '[^\n]*': [^\n]*\n"));
    }
}

TEST_F(ForgedFacts, OfASenderReachNoStatement) {
    run_with(item(Fact::kSender, "a@b'; delete from mail; -- \\") + subject() + done());
    EXPECT_THAT(sql("select id from mail"), SizeIs(1));
    EXPECT_THAT(sql("select email from resp_freq"),
                ElementsAre(ElementsAre("a@b'; delete from mail; -- \\")));
}

TEST_F(ForgedFacts, OfASubjectReachNoOtherHeader) {
    for (const std::string_view forged :
         {"Hello\nBcc: a@example.org"sv, "Hello\r\n\r\nGone fishing."sv, "Hello\r"sv, "Hello\0\n"sv,
          "=?utf-8?Q?=0A?="sv}) {
        SCOPED_TRACE(forged);
        const Outcome outcome = run_with(sender() + item(Fact::kSubject, forged) + done());
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(1));
        const std::string& mail = outcome.mails[0].message;
        const std::string line = mail.substr(mail.find("Subject: ") + 9);
        EXPECT_EQ(mail, plain_reply(line.substr(0, line.find('\n'))));
    }
}

TEST_F(ForgedFacts, OfAMessageIdReachNoOtherHeader) {
    answer_only_people();
    const auto facts_with = [](const std::string& message_id) {
        return sender() + subject() + item(Fact::kMessageId, message_id) + item(Fact::kAll, "") +
               item(Fact::kInHeader, number(1));
    };
    for (const std::string forged :
         {"<a@b>\nBcc: c@example.org", "<a@b>\r", "<a@b\nBcc:c>", "a@b", "<a b@c>", "<>"}) {
        SCOPED_TRACE(forged);
        const Outcome outcome = run_with_answers(facts_with(forged));
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].message, personal_reply(""));
    }
    const Outcome outcome = run_with_answers(facts_with("<a@b>"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, personal_reply("In-Reply-To: <a@b>\nReferences: <a@b>\n"));
}

TEST_F(ForgedFacts, OfARuleWriteOneLine) {
    answer_only_people();
    const Outcome outcome =
        run_with(sender() + item(Fact::kMachine, "a\nautoresponder: Verdict: \x1B[2J") +
                 item(Fact::kAll, ""));
    EXPECT_EQ(outcome.err, "autoresponder: Not answered: a?autoresponder: Verdict: ?[2J\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(ForgedFacts, OfTheSendersSpellingsReachNoStatement) {
    answer_only_people();
    const Outcome outcome =
        run_with_answers(sender() + subject() + item(Fact::kSenderLocalPart, "a' or 1=1 -- ") +
                         item(Fact::kSenderDomain, "b\\' or 1=1 -- ") + item(Fact::kAll, "") +
                         item(Fact::kInHeader, number(1)));
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, personal_reply(""));
}

TEST_F(ForgedFacts, WithoutASendersAddressMakeNoSense) {
    expect_no_sense(subject() + done());
    expect_no_sense(item(Fact::kSender, "") + subject() + done());
    expect_no_sense(item(Fact::kSender, "root") + subject() + done());
}

TEST_F(ForgedFacts, ThatObjectEndTheRunAsThatDoes) {
    const Outcome outcome = run_with(sender() + item(Fact::kObjection, number(0)) + done());
    EXPECT_EQ(outcome.err,
              "Could not get sender's e-mail address from Reply-To: or From: headers.\n"
              "Abnormal exit.\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(ForgedFacts, OfUnknownKindsMakeNoSense) {
    for (const std::uint32_t kind :
         {0U, 1U, 11U, static_cast<std::uint32_t>(Fact::kInHeader),
          static_cast<std::uint32_t>(Fact::kLocalPart),
          static_cast<std::uint32_t>(Fact::kIsInHeader),
          static_cast<std::uint32_t>(Fact::kIsInHeader) + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        SCOPED_TRACE(kind);
        expect_no_sense(sender() + item(kind, "captured") + done());
    }
}

TEST_F(ForgedFacts, WithNumbersOutOfRangeMakeNoSense) {
    for (const Fact fact :
         {Fact::kObjection, Fact::kSenderField, Fact::kTextSource, Fact::kTextPart}) {
        SCOPED_TRACE(static_cast<std::uint32_t>(fact));
        expect_no_sense(sender() + item(fact, number(1'000'000)) + done());
        expect_no_sense(sender() + item(fact, number(~0ULL)) + done());
        expect_no_sense(sender() + item(fact, "") + done());
        expect_no_sense(sender() + item(fact, "1") + done());
        expect_no_sense(sender() + item(fact, number(1) + "1") + done());
    }
    expect_no_sense(sender() + item(Fact::kTextSource, number(4)) + done());
}

TEST_F(ForgedFacts, OfATextThatIsNotAsLongAsWasSaidAreHarmless) {
    for (const std::string& length : {number(~0ULL), number(0), std::string("x"), std::string()}) {
        const Outcome outcome = run_with(sender() + subject() + item(Fact::kTextBegins, length) +
                                         item(Fact::kText, "text") + done());
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].message, plain_reply());
    }
}

TEST_F(ForgedFacts, WithMoreSpellingsThanThereAreMakeNoSense) {
    answer_only_people();
    std::string spellings;
    for (int i = 0; i < 3; ++i) {
        spellings += item(Fact::kSenderLocalPart, "a") + item(Fact::kSenderDomain, "b.example");
    }
    const Outcome outcome = run_with_answers(
        sender() + subject() + spellings + item(Fact::kAll, "") + item(Fact::kInHeader, number(1)));
    EXPECT_THAT(outcome.mails, SizeIs(1));
    expect_no_sense(sender() + spellings + item(Fact::kSenderLocalPart, "a"));
    expect_no_sense(sender() + item(Fact::kSenderDomain, "b.example"));
}

TEST_F(ForgedFacts, OfAWrongLengthAreNoFacts) {
    const auto head = [](std::uint32_t length) {
        return item(Fact::kSubject, "").replace(4, 4, reinterpret_cast<const char*>(&length), 4);
    };
    // It goes on, so that it is this process that gives it up.
    for (const std::uint32_t length : {65529U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        SCOPED_TRACE(length);
        expect_unread("say " + hexadecimal(sender() + head(length)) + ";wait",
                      "the reading process was ended by signal 9");
    }
    for (const std::string& cut :
         {head(1), head(65528), sender().substr(0, 20), sender().substr(0, 3), std::string()}) {
        expect_unread(saying(cut), "the reading process ended before it was done");
    }
}

TEST_F(ForgedFacts, WithoutAnEndAreGivenUp) {
    for (const Fact fact : {Fact::kText, Fact::kSubject, Fact::kSender, Fact::kTextBegins}) {
        SCOPED_TRACE(static_cast<std::uint32_t>(fact));
        expect_unread("say-for-ever " + hexadecimal(item(fact, "captured")),
                      "the reading process was ended by signal 9");
    }
    expect_unread("say-for-ever " + hexadecimal(item(Fact::kText, "")),
                  "the reading process was ended by signal 9");
}

TEST_F(ForgedFacts, ThatAreLargeAreHarmless) {
    // Nearly all that it may say, 64 MiB.
    const std::string much(65000, 'x');
    const std::string deeds = "say " + hexadecimal(sender()) + ";say-times 1000 " +
                              hexadecimal(item(Fact::kText, much)) + ";say " +
                              hexadecimal(subject() + done()) + ";end 0";
    sql("update mail_resp set keystr='fish', key_where='body'");
    const Outcome outcome = run(invocation_for(deeds));
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(ForgedFacts, ThatTheProcessFailedEndTheRun) {
    expect_unread(saying(item(kMemoryExhausted, "")), "the reading process ran out of memory");
    expect_unread(saying(item(kRightsKept, number(13))),
                  "the reading process cannot give up its rights: Permission denied (13)");
    expect_unread(saying(item(kRightsKept, number(~0ULL))),
                  "the reading process cannot give up its rights: Unknown error -1 (-1)");
    const Outcome outcome = run_with(item(kThrown, "captured"));
    EXPECT_EQ(outcome.err, "autoresponder: Failed to process the message: captured\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(ForgedFacts, InPlaceOfAnswersMakeNoSense) {
    answer_only_people();
    const std::string all = sender() + subject() + item(Fact::kAll, "");
    for (const std::string& answer : {item(Fact::kInHeader, number(2)), item(Fact::kInHeader, ""),
                                      item(Fact::kSubject, "x"), item(Fact::kAll, ""), done()}) {
        const Outcome outcome = run_with_answers(all + answer);
        EXPECT_EQ(outcome.err, unread("the reading process gave an answer that makes no sense"));
        EXPECT_THAT(outcome.mails, IsEmpty());
    }
    const Outcome outcome = run_with(all);
    EXPECT_EQ(outcome.err, unread("the reading process ended before it was done"));
    EXPECT_THAT(outcome.mails, IsEmpty());
}

}  // namespace
