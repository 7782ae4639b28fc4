// SPDX-License-Identifier: Apache-2.0

// What a mailbox's owner gains who captures the process that converts a reply's text, and whoever
// captures the one that converts the address that a message was sent to: nothing, and the reply
// goes out as where there is nothing to convert to.

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/captured_reader.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

class CapturedReplyText : public CapturedProcess {
  protected:
    // The text of the reply, which must be as always but for that and its charset.
    std::string text_for(const std::string& deeds, const std::string& charset,
                         const Invocation& how = {.message = plain_message()}) {
        sql("update mail_resp set charset='" + std::string(kCharset) +
            "', text=" + database().quoted(deeds));
        const Outcome outcome = run(how);
        EXPECT_EQ(outcome.err, "");
        if (outcome.mails.size() != 1) {
            return "(" + std::to_string(outcome.mails.size()) + " mails)";
        }
        EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
        std::string start = plain_reply("Re: Hello", "");
        start.erase(start.size() - 3);
        start.replace(start.find("UTF-8"), 5, charset);
        std::string text = outcome.mails[0].message;
        EXPECT_EQ(text.substr(0, start.size()), start);
        text.erase(0, start.size());
        EXPECT_TRUE(text.ends_with("\n\n\n"));
        return text.substr(0, text.size() - 3);
    }

    // The text goes out as it is.
    void expect_unconverted(const std::string& deeds) {
        EXPECT_EQ(text_for(deeds, "UTF-8"), deeds);
    }
};

TEST_F(CapturedReplyText, IsWhatThereIsToGain) {
    EXPECT_EQ(text_for("parent;descriptors", kCharset), "EPERM none");
    const std::string database = std::getenv("MYSQL_UNIX_PORT");
    EXPECT_EQ(text_for("read /etc/tva/.tva.shadow;read /etc/passwd;setuid;setgid;setgroups;"
                       "kill 1;signal-all;trace 1;connect " +
                           database + ";socket 2 1;ring",
                       kCharset),
              "EACCES EACCES EPERM EPERM EPERM EPERM EPERM EPERM EPERM EPERM EPERM");
    EXPECT_EQ(text_for("make /tmp/new;make /dev/shm/new;change /proc/self/mem;exec /bin/true;fork;"
                       "shared-memory 1;raise-limit",
                       kCharset),
              "EPERM EPERM EPERM EPERM EPERM EPERM EPERM");
}

TEST_F(CapturedReplyText, TakesNoMoreMemoryThanItsShare) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers take more than a share";
    }
    EXPECT_EQ(text_for("private-memory 40", kCharset), "done");
    EXPECT_EQ(text_for("private-memory 65;memory-from-stack 65;page-tables 65", kCharset),
              "ENOMEM ENOMEM ENOMEM");
}

TEST_F(CapturedReplyText, HasNoPasswordInItsMemory) {
    if (kSanitized) {
        GTEST_SKIP() << "too much memory to search";
    }
    add_responder(2);  // so that the session is still open when the first text is converted
    for (const auto& [bytes, outcome] :
         {std::pair(std::string("sender@example.org"), "found"), {right_password(), "none"}}) {
        sql("update mail_resp set ans_freq=100, charset='X-HOSTILE', text='search-memory " +
            hexadecimal(inverted(bytes)) + "' where id=1");
        const Outcome two_replies = answer(plain_message());
        ASSERT_THAT(two_replies.mails, SizeIs(2));
        EXPECT_THAT(two_replies.mails[0].message,
                    testing::EndsWith("\n\n" + std::string(outcome) + "\n\n\n"));
    }
}

TEST_F(CapturedReplyText, HasItsShareBesidesWhatTheRunTakesForALargeMessage) {
    Invocation large = {.message = plain_message()};
    large.message.append(80'000'000, 'x');
    EXPECT_EQ(text_for("private-memory 40", kCharset, large), "done");
}

TEST_F(CapturedReplyText, HasNoPartInTheCopyOfTheMessage) {
    sql("update mail_resp set charset='X-HOSTILE'");
    const Held held = hold();
    sql("update mail_resp set text='read " + held.copy + ";change " + held.copy + ";remove " +
        held.copy + "'");
    held.program->add_input(plain_message());
    held.program->end_input();
    const Outcome outcome = settle(held);
    ASSERT_THAT(outcome.mails, SizeIs(1));
    std::string expected = plain_reply("Re: Hello", "EACCES EPERM EPERM");
    EXPECT_EQ(outcome.mails[0].message, expected.replace(expected.find("UTF-8"), 5, kCharset));
}

TEST_F(CapturedReplyText, GoesOutAsItIsWhereItsConversionFails) {
    expect_unconverted("crash");
    expect_unconverted("end 0");
    const std::string nonsense = hexadecimal(std::string(8, '\xFF'));
    expect_unconverted("say " + nonsense + ";end 0");
    expect_unconverted("say-for-ever " + hexadecimal(item(16, "captured")));
}

TEST_F(CapturedReplyText, IsAllThatCanBeForged) {
    const std::string forged = "\nBcc: a@example.org\n\nAnother text";
    EXPECT_EQ(text_for("say " + hexadecimal(item(16, forged) + item(12, "")) + ";end 0", kCharset),
              forged);
}

TEST_F(CapturedReplyText, IsConfinedWhereTheKernelHasNoLandlockOrFilters) {
    EXPECT_EQ(text_for("fork;setuid;make /tmp/new", kCharset,
                       {.message = plain_message(), .hide_landlock = true}),
              "EPERM EPERM EPERM");
    EXPECT_EQ(text_for("read /etc/passwd;setuid;make /tmp/new", kCharset,
                       {.message = plain_message(), .hide_filters = true}),
              "EACCES EPERM EACCES");
    EXPECT_EQ(text_for("read /etc/tva/.tva.shadow;setuid;fork", kCharset,
                       {.message = plain_message(), .hide_landlock = true, .hide_filters = true}),
              "EACCES EPERM EAGAIN");
}

class CapturedAddress : public CapturedProcess {
  protected:
    static constexpr char kRecipient[] =
        "user@b\xC3\xBC"
        "cher.example";

    void SetUp() override {
        CapturedProcess::SetUp();
        if (!IsSkipped()) {
            sql("update domains set name='b\xC3\xBC"
                "cher.example'");
        }
    }

    Outcome run_with(const std::string& deeds) {
        return run({.message = plain_message(),
                    .recipient = kRecipient,
                    .environment = {{"LD_PRELOAD", std::string(kModule)},
                                    {"HOSTILE_DEEDS", deeds},
                                    {"ASAN_OPTIONS", "verify_asan_link_order=0"}}});
    }

    void expect_no_reply(const std::string& deeds, const std::string& reason) {
        const Outcome outcome = run_with(deeds);
        EXPECT_EQ(outcome.err, "autoresponder: IDN conversion error: " + reason +
                                   "\n"
                                   "autoresponder: IDN conversion error: " +
                                   reason + "\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
    }
};

TEST_F(CapturedAddress, IsAllThereIsToGain) {
    const Outcome outcome = run_with("read /etc/tva/.tva.shadow;setuid;fork;make /tmp/new;parent");
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    const std::string address = "EACCES EPERM EPERM EPERM EPERM";
    std::string expected = plain_reply();
    EXPECT_EQ(outcome.mails[0].message,
              expected.replace(expected.find("user@example.com"), 16, address));
    EXPECT_EQ(outcome.mails[0].arguments.at(2), address);
}

TEST_F(CapturedAddress, IsNotConvertedWhereThatFails) {
    expect_no_reply("crash", "the reading process was ended by signal 11");
    expect_no_reply("end 0", "the reading process ended before it was done");
    expect_no_reply("say " + hexadecimal(item(16, "user@example.com").substr(0, 20)) + ";end 0",
                    "the reading process ended before it was done");
}

TEST_F(CapturedAddress, ReachesNoOtherHeader) {
    for (const std::string_view forged : {"a@example.org\nBcc: b@example.org", "a\r",
                                          "b\xC3\xBC"
                                          "cher@example.org"}) {
        expect_no_reply("say " + hexadecimal(item(16, forged) + item(12, "")) + ";end 0",
                        "the reading process gave an answer that makes no sense");
    }
    expect_no_reply("say " + hexadecimal(item(17, number(~0ULL)) + item(12, "")) + ";end 0",
                    "Unknown error");
}

}  // namespace
