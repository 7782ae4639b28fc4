// SPDX-License-Identifier: Apache-2.0

#include "core/people/automatic_mail.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/message/field_tokens.h"
#include "core/message/header_fields.h"
#include "core/message/mail_content.h"

namespace {

using namespace autoresponder;

const std::string kNoReason = "none";

std::string reason(std::string_view header, const std::string& from = "ann@b.org",
                   const std::optional<MailAddress>& envelope_sender = MailAddress{"ann",
                                                                                   "b.org"}) {
    Mail_content mail;
    mail.from = from;
    return machine_reason(mail, envelope_sender, HeaderFields(header)).value_or(kNoReason);
}

std::string of_sender(const std::string& from) {
    return reason("", from);
}

std::string of_envelope(const MailAddress& sender) {
    return reason("", "ann@b.org", sender);
}

TEST(MachineReason, APersonsMailHasNone) {
    EXPECT_EQ(reason("From: Ann <ann@b.org>\nTo: user@example.com\nSubject: List-Id: x\n"
                     "X-List-Id: x\nList: x\nList-: x\nPrecedence-List: bulk\n"),
              kNoReason);
}

TEST(MachineReason, AnEmptyEnvelopeSenderIsOne) {
    EXPECT_EQ(of_envelope({"", ""}), "empty envelope sender");
    EXPECT_EQ(of_envelope({"#", "[]"}), "envelope sender #@[]");
    EXPECT_EQ(of_envelope({"#", "b.org"}), kNoReason);
}

TEST(MachineReason, AnUnknownEnvelopeSenderIsNone) {
    EXPECT_EQ(reason("", "ann@b.org", std::nullopt), kNoReason);
}

TEST(MachineReason, AutoSubmittedIsOneUnlessItIsNo) {
    const std::string submitted = "Auto-Submitted: field";
    EXPECT_EQ(reason("Auto-Submitted: auto-replied\n"), submitted);
    EXPECT_EQ(reason("AUTO-SUBMITTED: Auto-Generated; owner-email=\"a@b.org\"\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted:\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: (no)\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: no no\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: none\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: n\xC3\xB6\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: [no]\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: no.\n"), submitted);
    EXPECT_EQ(reason("Auto-Submitted: no\n"), kNoReason);
    EXPECT_EQ(reason("auto-submitted:(a person)\n No (really); x=y\n"), kNoReason);
    EXPECT_EQ(reason("Auto-Submitted: no\nAuto-Submitted: auto-replied\n"), submitted);
}

TEST(MachineReason, AnyListFieldIsOneWhateverItHolds) {
    for (const std::string name : {"List-Id", "List-Help", "List-Unsubscribe", "List-Subscribe",
                                   "List-Post", "List-Owner", "List-Archive", "Mailing-List"}) {
        EXPECT_EQ(reason("Subject: x\n" + name + ": <x.b.org>\n"), name + ": field");
        EXPECT_EQ(reason(name + ":\n"), name + ": field");
    }
    EXPECT_EQ(reason("LIST-ID : x\n"), "List-Id: field");
    EXPECT_EQ(reason("mailing-list: x\n"), "Mailing-List: field");
}

TEST(MachineReason, PrecedenceIsOneWhereItHoldsAKeyword) {
    EXPECT_EQ(reason("Precedence: bulk\n"), "Precedence: bulk");
    EXPECT_EQ(reason("PRECEDENCE: JUNK\n"), "Precedence: junk");
    EXPECT_EQ(reason("Precedence:\n List (mass mail)\n"), "Precedence: list");
    EXPECT_EQ(reason("Precedence: \"bulk\"\n"), "Precedence: bulk");
    EXPECT_EQ(reason("Precedence: first-class\nPrecedence: junk\n"), "Precedence: junk");
    EXPECT_EQ(reason("Precedence: special, bulk\n"), "Precedence: bulk");
    EXPECT_EQ(reason("Precedence: first-class\n"), kNoReason);
    EXPECT_EQ(reason("Precedence: (bulk) [bulk]\n"), kNoReason);
    EXPECT_EQ(reason("Precedence: bulky\n"), kNoReason);
    EXPECT_EQ(reason("Precedence:\n"), kNoReason);
}

TEST(MachineReason, ResponsesThatAreToBeSuppressedAreOne) {
    EXPECT_EQ(reason("X-Auto-Response-Suppress: OOF\n"), "X-Auto-Response-Suppress: OOF");
    EXPECT_EQ(reason("x-auto-response-suppress: DR, RN,\n\tautoreply\n"),
              "X-Auto-Response-Suppress: AutoReply");
    EXPECT_EQ(reason("X-Auto-Response-Suppress: ALL\n"), "X-Auto-Response-Suppress: All");
    EXPECT_EQ(reason("X-Auto-Response-Suppress: DR, RN, NRN\n"), kNoReason);
    EXPECT_EQ(reason("X-Auto-Response-Suppress: None\n"), kNoReason);
    EXPECT_EQ(reason("X-Auto-Response-Suppress:\n"), kNoReason);
}

TEST(MachineReason, NamesOfMachinesAreOneInAnyLetterCase) {
    EXPECT_EQ(of_sender("MAILER-DAEMON@b.org"), "sender mailer-daemon");
    EXPECT_EQ(of_sender("Mailer@b.org"), "sender mailer");
    EXPECT_EQ(of_sender("daemon@b.org"), "sender daemon");
    EXPECT_EQ(of_sender("PostMaster@b.org"), "sender postmaster");
    EXPECT_EQ(of_sender("root@b.org"), "sender root");
    EXPECT_EQ(of_sender("uucp@b.org"), "sender uucp");
    EXPECT_EQ(of_sender("listserv@b.org"), "sender listserv");
    EXPECT_EQ(of_sender("majordomo@b.org"), "sender majordomo");
    EXPECT_EQ(of_sender("Owner-news@b.org"), "sender owner-*");
    EXPECT_EQ(of_sender("news-owner@b.org"), "sender *-owner");
    EXPECT_EQ(of_sender("news-request@b.org"), "sender *-request");
    EXPECT_EQ(of_sender("bounces+x=y.org@b.org"), "sender bounce*");
    EXPECT_EQ(of_sender("bounce@b.org"), "sender bounce*");
    EXPECT_EQ(of_sender("news-bounces@b.org"), "sender *-bounce*");
    EXPECT_EQ(of_sender("NoReply@b.org"), "sender *noreply*");
    EXPECT_EQ(of_sender("calendar-no-reply+7@b.org"), "sender *no-reply*");
    EXPECT_EQ(of_sender("no_reply@b.org"), "sender *no_reply*");
    EXPECT_EQ(of_sender("donotreply@b.org"), "sender *donotreply*");
    EXPECT_EQ(of_sender("do-not-reply@b.org"), "sender *do-not-reply*");
    EXPECT_EQ(of_sender("do_not_reply@b.org"), "sender *do_not_reply*");
}

TEST(MachineReason, ALocalPartThatOnlyHoldsANameIsNone) {
    for (const char* from :
         {"rooter@b.org", "groot@b.org", "postmaster2@b.org", "mailers@b.org", "newsowner@b.org",
          "owner@b.org", "downer-x@b.org", "request@b.org", "news-requests@b.org",
          "trebounce@b.org", "ann@root", "ann@noreply.b.org", "ann@postmaster", "n@o-reply.org"}) {
        EXPECT_EQ(of_sender(from), kNoReason) << from;
    }
}

TEST(MachineReason, QuotesDoNotHideAName) {
    EXPECT_EQ(of_sender("\"mailer-daemon\"@b.org"), "sender mailer-daemon");
    EXPECT_EQ(of_sender("\"Post\\master\"@b.org"), "sender postmaster");
    EXPECT_EQ(of_sender("root@"), "sender root");
    EXPECT_EQ(of_sender(""), kNoReason);
}

TEST(MachineReason, NamesCountInTheEnvelopeToo) {
    EXPECT_EQ(of_envelope({"bounce-7", "b.org"}), "envelope sender bounce*");
    EXPECT_EQ(of_envelope({"news-owner", "b.org"}), "envelope sender *-owner");
}

TEST(MachineReason, TheFirstOfSeveralIsNamed) {
    const std::string header = "Precedence: bulk\nList-Id: x\n";
    EXPECT_EQ(reason(header, "root@b.org", MailAddress{}), "empty envelope sender");
    EXPECT_EQ(reason(header, "root@b.org"), "Precedence: bulk");
    EXPECT_EQ(reason("List-Id: x\nPrecedence: bulk\n", "root@b.org"), "List-Id: field");
}

class EnvelopeSender : public testing::Test {
  protected:
    void SetUp() override { forget(); }
    void TearDown() override { forget(); }

    static void forget() {
        unsetenv("SENDER");
        unsetenv("RETURN_PATH");
    }
    static std::optional<MailAddress> of(std::string_view header) {
        return envelope_sender(HeaderFields(header));
    }
};

const MailAddress kAnn = {"ann", "b.org"};
const MailAddress kNobody = {"", ""};

TEST_F(EnvelopeSender, IsUnknownWhereNothingTells) {
    EXPECT_EQ(of("From: ann@b.org\n"), std::nullopt);
}

TEST_F(EnvelopeSender, IsThatOfTheFirstReturnPathField) {
    EXPECT_EQ(of("Return-Path: <Ann@B.org>\nReturn-Path: <>\n"), kAnn);
    EXPECT_EQ(of("RETURN-PATH:\n (x@y) <@relay.org:\"ann\"@b.org>\n"), kAnn);
    EXPECT_EQ(of("Return-Path: ann@b.org\n"), kAnn);
    EXPECT_EQ(of("Return-Path: <#@[]>\n"), (MailAddress{"#", "[]"}));
}

TEST_F(EnvelopeSender, IsNobodyWhereTheFieldNamesNobody) {
    EXPECT_EQ(of("Return-Path: <>\nReturn-Path: <ann@b.org>\n"), kNobody);
    EXPECT_EQ(of("Return-Path: (x@y)\n < > \n"), kNobody);
    EXPECT_EQ(of("Return-Path:\n"), kNobody);
}

TEST_F(EnvelopeSender, InTheEnvironmentCountsBeforeTheField) {
    setenv("SENDER", "Ann@B.org", 1);
    EXPECT_EQ(of("Return-Path: <>\n"), kAnn);
    setenv("SENDER", "", 1);
    EXPECT_EQ(of("Return-Path: <ann@b.org>\n"), kNobody);
}

TEST_F(EnvelopeSender, IsLookedForInBothVariables) {
    setenv("RETURN_PATH", "<ann@b.org>", 1);
    EXPECT_EQ(of(""), kAnn);
    setenv("RETURN_PATH", "<>", 1);
    EXPECT_EQ(of(""), kNobody);
    setenv("SENDER", "ann@b.org", 1);
    EXPECT_EQ(of(""), kAnn);
}

TEST_F(EnvelopeSender, StandsInAVariableWithoutSyntax) {
    setenv("SENDER", "a,b (c)@b.org", 1);
    EXPECT_EQ(of(""), (MailAddress{"a,b (c)", "b.org"}));
    setenv("SENDER", "#@[]", 1);
    EXPECT_EQ(of(""), (MailAddress{"#", "[]"}));
    setenv("SENDER", "<", 1);
    EXPECT_EQ(of(""), (MailAddress{"<", ""}));
}

}  // namespace
