// SPDX-License-Identifier: Apache-2.0

#include "core/people/loop_and_daemon_check.h"

#include <gtest/gtest.h>

#include "core/message/mail_content.h"

namespace {

using namespace autoresponder;

const char* reason(const char* from, const char* to) {
    Mail_content mail;
    mail.from = from;
    mail.to = to;
    return loop_reason(mail);
}

TEST(LoopCheck, SenderEqualToRecipientIsALoop) {
    EXPECT_STREQ(reason("a@b.org", "a@b.org"), "Field From: equial field To:");
}

TEST(LoopCheck, SenderThatDiffersInLetterCaseOnlyIsNone) {
    EXPECT_EQ(reason("A@b.org", "a@b.org"), nullptr);
}

TEST(LoopCheck, EmptySenderAndRecipientAreEqual) {
    EXPECT_STREQ(reason("", ""), "Field From: equial field To:");
}

TEST(LoopCheck, DaemonsAreFoundAnywhereInTheSender) {
    const char* const text = "Field From: contains MAILER-DAEMON";
    EXPECT_STREQ(reason("MAILER-DAEMON@b.org", "a@b.org"), text);
    EXPECT_STREQ(reason("xmailer-daemonx@b.org", "a@b.org"), text);
    EXPECT_STREQ(reason("a@DrWEB-DAEMON.org", "a@b.org"), text);
}

TEST(LoopCheck, DaemonInAnotherSpellingPasses) {
    EXPECT_EQ(reason("Mailer-Daemon@b.org", "a@b.org"), nullptr);
}

TEST(LoopCheck, DaemonAsRecipientPasses) {
    EXPECT_EQ(reason("a@b.org", "MAILER-DAEMON@b.org"), nullptr);
}

TEST(LoopCheck, EqualityIsReportedBeforeTheDaemon) {
    EXPECT_STREQ(reason("MAILER-DAEMON@b.org", "MAILER-DAEMON@b.org"),
                 "Field From: equial field To:");
}

}  // namespace
