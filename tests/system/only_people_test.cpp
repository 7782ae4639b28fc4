// SPDX-License-Identifier: Apache-2.0

// The setting AUTORESPONDER_ONLY_PEOPLE: what is not answered with it and is without it, and what
// replies bear.

#include <sys/resource.h>

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::string_literals;

using Environment = std::map<std::string, std::string>;

const std::string kMegabyte(1'000'000, 'x');

class OnlyPeople : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
        add_forward(1, "copy@example.net");
        sql("insert into mail_aliases set mn_id=1, alias='info'");
        sql("insert into domainaliases set dom_id=1, name='example.net', mail='true'");
        sql("insert into domainaliases set dom_id=1, name='off.example', mail='false'");
    }

    static void set(const std::string& value) {
        write_file("/etc/tva/tva.conf", "AUTORESPONDER_ONLY_PEOPLE " + value + "\n");
    }

    static std::size_t counted() { return sql("select * from resp_freq").size(); }

    // A run with nothing counted before it.
    Outcome run_afresh(const std::string& message, const Environment& environment,
                       const std::string& recipient) {
        sql("delete from resp_freq");
        return run({.message = message, .recipient = recipient, .environment = environment});
    }

    // Without the setting the message is forwarded, answered and counted.
    void expect_answered_without(const std::string& message, const Environment& environment,
                                 const std::string& recipient) {
        if (kSanitized) {
            return;  // once for all is enough there: nothing is read that others do not read
        }
        set("false");
        const Outcome outcome = run_afresh(message, environment, recipient);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(counted(), 1U);
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_TRUE(outcome.mails[0].message == message + "\n") << "not forwarded as it came";
        EXPECT_THAT(outcome.mails[1].message, StartsWith("From: " + recipient + "\nTo: "));
        EXPECT_THAT(outcome.mails[1].message, EndsWith("\n\nGone fishing.\n\n\n"));
    }

    // With the setting nothing is sent or counted, and one line says why.
    void expect_not_answered(const std::string& reason, const std::string& message,
                             const Environment& environment = {},
                             const std::string& recipient = "user@example.com") {
        expect_answered_without(message, environment, recipient);
        set("true");
        const Outcome outcome = run_afresh(message, environment, recipient);
        EXPECT_EQ(outcome.err, "autoresponder: Not answered: " + reason + "\n");
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_EQ(counted(), 0U);
    }

    // The message is also answered with the setting.
    void expect_answered(const std::string& message, const Environment& environment = {},
                         const std::string& recipient = "user@example.com") {
        expect_answered_without(message, environment, recipient);
        set("true");
        const Outcome outcome = run_afresh(message, environment, recipient);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(counted(), 1U);
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_TRUE(outcome.mails[0].message == message + "\n") << "not forwarded as it came";
    }

    // The last mail of an answer with the setting.
    std::string reply_to(const std::string& message) {
        set("true");
        const Outcome outcome = run_afresh(message, {}, "user@example.com");
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.empty() ? "" : outcome.mails.back().message;
    }
};

// From a person to the mailbox, with one more field.
std::string with_field(const std::string& field) {
    return message_with({"To: user@example.com", "Subject: Hello", field});
}

std::string from(const std::string& sender) {
    return "From: " + sender + "\nTo: user@example.com\nSubject: Hello\n\nAre you there?\n";
}

// To somebody, from a person.
std::string to(const std::string& field) {
    return message_with({"Subject: Hello", field});
}

// Hostile shapes of a field whose value is `value`.
std::vector<std::string> shapes(const std::string& name, const std::string& value) {
    std::string capitals = name + ": " + value;
    for (char& c : capitals) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
    }
    return {name + ":" + value,
            name + " \t: " + value,
            capitals,
            name + ":\n " + value,
            name + ":\n\t\n \n\t" + value + "\n ",
            name + ":\r\n " + value + "\r",
            name + ": (no (\"x\\)\") y) " + value + " (z)",
            name + ": " + value + " (x",
            name + ": (" + kMegabyte + ") " + value,
            name + ":" + std::string(1'000'000, ' ') + value,
            name + ": " + std::string(500'000, '(') + std::string(500'000, ')') + value,
            "X-" + name + ": x\n" + name + ": " + value,
            "X: " + kMegabyte + "\n" + name + ": " + value};
}

TEST_F(OnlyPeople, APersonIsAnswered) {
    expect_answered(plain_message());
    expect_answered(plain_message(), {{"SENDER", "sender@example.org"}});
    expect_answered(with_field("Return-Path: <sender@example.org>"));
    expect_answered(with_field("X-Text: Precedence: bulk\n List-Id: x\n Auto-Submitted: yes"));
    expect_answered(message_with({"To: user@example.com"}, "List-Id: x\nPrecedence: bulk\n"));
}

TEST_F(OnlyPeople, IsOnWhereItsValueIsTrue) {
    const std::string message = with_field("List-Id: x");
    for (const char* value : {"true", "TRUE", "false\nAUTORESPONDER_ONLY_PEOPLE true"}) {
        set(value);
        EXPECT_THAT(run_afresh(message, {}, "user@example.com").mails, IsEmpty()) << value;
    }
    for (const char* value : {"false", "yes", "1", "truer", "# true"}) {
        set(value);
        EXPECT_THAT(run_afresh(message, {}, "user@example.com").mails, SizeIs(2)) << value;
    }
}

TEST_F(OnlyPeople, WithoutTheSettingNothingChanges) {
    const Outcome outcome = run({.message = with_field("Message-ID: <1@example.org>"),
                                 .environment = {{"SENDER", ""}, {"RETURN_PATH", ""}}});
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
    EXPECT_THAT(
        statements(),
        ElementsAre("select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id "
                    "and d.name='example.com' and m.mail_name='user'",
                    "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, "
                    "reply_to, charset, content_type from mail_resp where mn_id=1",
                    "delete from resp_freq where rn_id=1 and "
                    "(TO_DAYS(NOW())-TO_DAYS(time_resp))>0",
                    "select COUNT(*) from resp_freq where rn_id=1",
                    "select num from resp_freq where rn_id=1 and email='sender@example.org'",
                    "insert into resp_freq set rn_id=1, email='sender@example.org', num=1",
                    "select address from resp_forward where rn_id=1",
                    "select filename from resp_attach where rn_id=1"));
}

TEST_F(OnlyPeople, ALoopIsReportedAsAlways) {
    set("true");
    EXPECT_EQ(answer(from("user@example.com")).err, "Field From: equial field To:\n");
    EXPECT_EQ(answer(from("MAILER-DAEMON@example.org")).err,
              "Field From: contains MAILER-DAEMON\n");
}

// The envelope sender

TEST_F(OnlyPeople, MailFromNobodyIsNotAnswered) {
    expect_not_answered("empty envelope sender", plain_message(), {{"SENDER", ""}});
    expect_not_answered("envelope sender #@[]", plain_message(), {{"SENDER", "#@[]"}});
    expect_not_answered("empty envelope sender", plain_message(), {{"RETURN_PATH", "<>"}});
    expect_not_answered("envelope sender #@[]", plain_message(), {{"RETURN_PATH", "<#@[]>"}});
    expect_not_answered("envelope sender #@[]", with_field("Return-Path: <#@[]>"));
}

TEST_F(OnlyPeople, MailFromNobodyIsRecognisedInAnyShape) {
    for (const std::string& field : shapes("Return-Path", "<>")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered("empty envelope sender", with_field(field));
    }
    expect_not_answered("empty envelope sender", with_field("Return-Path:"));
    expect_not_answered("empty envelope sender", with_field("Return-Path: < \n >"));
    expect_not_answered("empty envelope sender",
                        with_field("Return-Path: <>\nReturn-Path: <sender@example.org>"));
}

TEST_F(OnlyPeople, TheFirstThatNamesTheEnvelopeSenderCounts) {
    const std::string bounce = with_field("Return-Path: <>");
    expect_answered(bounce, {{"SENDER", "sender@example.org"}, {"RETURN_PATH", ""}});
    expect_answered(bounce, {{"RETURN_PATH", "<sender@example.org>"}});
    expect_answered(with_field("Return-Path: <sender@example.org>\nReturn-Path: <>"));
}

// Header fields

TEST_F(OnlyPeople, AutomaticMailIsNotAnswered) {
    for (const std::string& field : shapes("Auto-Submitted", "auto-replied")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered("Auto-Submitted: field", with_field(field));
    }
    for (const char* value :
         {"", "auto-generated; owner-email=\"a@b.org\"", "no no", "(no)", "\xFF\xFE", "n\xC3\xB6",
          "no\nAuto-Submitted: auto-replied", "\"yes; no\""}) {
        SCOPED_TRACE(value);
        expect_not_answered("Auto-Submitted: field", with_field("Auto-Submitted: "s + value));
    }
    expect_not_answered("Auto-Submitted: field", with_field("Auto-Submitted: " + kMegabyte));
}

TEST_F(OnlyPeople, MailThatSaysItIsNotAutomaticIsAnswered) {
    for (const std::string& field : shapes("Auto-Submitted", "no")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_answered(with_field(field));
    }
    expect_answered(with_field("Auto-Submitted: no; x=y\nAuto-Submitted: No"));
}

TEST_F(OnlyPeople, MailOfListsIsNotAnswered) {
    for (const std::string name : {"List-Id", "List-Help", "List-Unsubscribe", "List-Subscribe",
                                   "List-Post", "List-Owner", "List-Archive", "Mailing-List"}) {
        SCOPED_TRACE(name);
        expect_not_answered(name + ": field", with_field(name + ": <news.example.org>"));
        expect_not_answered(name + ": field", with_field(name + ":"));
        expect_answered(with_field("X-" + name + ": x"));
    }
    for (const std::string& field : shapes("List-Id", "News <news.example.org>")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered("List-Id: field", with_field(field));
    }
    expect_not_answered("List-Id: field", with_field("List-Id: " + kMegabyte));
}

TEST_F(OnlyPeople, MassMailIsNotAnswered) {
    for (const std::string word : {"bulk", "junk", "list"}) {
        expect_not_answered("Precedence: " + word, with_field("Precedence: " + word));
    }
    for (const std::string& field : shapes("Precedence", "bulk")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered("Precedence: bulk", with_field(field));
    }
    expect_not_answered("Precedence: junk",
                        with_field("Precedence: first-class\nprecedence: junk"));
    for (const std::string& value : {""s, "first-class"s, "(bulk)"s, "bul\xFFk"s, kMegabyte}) {
        SCOPED_TRACE(value.substr(0, 60));
        expect_answered(with_field("Precedence: " + value));
    }
}

TEST_F(OnlyPeople, MailThatForbidsAutomaticRepliesIsNotAnswered) {
    for (const std::string word : {"OOF", "AutoReply", "All"}) {
        expect_not_answered("X-Auto-Response-Suppress: " + word,
                            with_field("X-Auto-Response-Suppress: DR, RN,\n " + word));
    }
    for (const std::string& field : shapes("X-Auto-Response-Suppress", "DR, OOF, RN")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered("X-Auto-Response-Suppress: OOF", with_field(field));
    }
    for (const std::string& value : {""s, "None"s, "DR, NDR, RN, NRN"s, kMegabyte}) {
        SCOPED_TRACE(value.substr(0, 60));
        expect_answered(with_field("X-Auto-Response-Suppress: " + value));
    }
}

// The sender

TEST_F(OnlyPeople, MachinesAreNotAnswered) {
    const std::pair<const char*, const char*> machines[] = {
        {"Mailer-Daemon@example.org", "mailer-daemon"},
        {"mailer@example.org", "mailer"},
        {"daemon@example.org", "daemon"},
        {"Postmaster@example.org", "postmaster"},
        {"\"root\"@example.org", "root"},
        {"uucp@example.org", "uucp"},
        {"LISTSERV@example.org", "listserv"},
        {"majordomo@example.org", "majordomo"},
        {"owner-news@example.org", "owner-*"},
        {"news-OWNER@example.org", "*-owner"},
        {"news-request@example.org", "*-request"},
        {"bounces+user=example.com@example.org", "bounce*"},
        {"news-bounces@example.org", "*-bounce*"},
        {"noreply@example.org", "*noreply*"},
        {"Calendar-No-Reply+7@example.org", "*no-reply*"},
        {"no_reply@example.org", "*no_reply*"},
        {"donotreply@example.org", "*donotreply*"},
        {"do-not-reply@example.org", "*do-not-reply*"},
        {"do_not_reply@example.org", "*do_not_reply*"}};
    for (const auto& [address, pattern] : machines) {
        SCOPED_TRACE(address);
        expect_not_answered("sender "s + pattern, from(address));
        expect_not_answered("envelope sender "s + pattern,
                            with_field("Return-Path: <" + std::string(address) + ">"));
    }
    expect_not_answered("envelope sender bounce*", plain_message(),
                        {{"SENDER", "bounce-7@example.org"}});
    expect_not_answered("sender *noreply*", with_field("Reply-To: noreply@example.org"));
}

TEST_F(OnlyPeople, APersonWhoAnswersForAMachineIsAnswered) {
    expect_answered(
        "From: noreply@example.org\nReply-To: sender@example.org\n"
        "To: user@example.com\n\nA form was filled in.\n");
    expect_answered(from("Root <sender@example.org> (postmaster@example.org)"));
    expect_answered(from("sender@postmaster.noreply.example"));
}

TEST_F(OnlyPeople, TheMailboxIsNotAnsweredUnderAnotherName) {
    for (const char* sender :
         {"USER@example.com", "info@example.com", "user@example.net", "Info@Example.NET",
          "\"info\"@example.com", "Ann <in\\fo@example.com>, info@example.com"}) {
        SCOPED_TRACE(sender);
        expect_not_answered("sender is the mailbox itself", from(sender));
    }
    expect_not_answered("sender is the mailbox itself", from("user@example.com"), {},
                        "info@example.net");
}

TEST_F(OnlyPeople, AnotherMailboxOfTheDomainIsAnswered) {
    sql("insert into mail set id=2, mail_name='boss', dom_id=1");
    expect_answered(from("boss@example.com"));
    expect_answered(from("nobody@example.com"));
    expect_answered(from("user@off.example"));
    // A mailbox comes before an alias of that name.
    sql("insert into mail set id=3, mail_name='info', dom_id=1");
    expect_answered(from("info@example.com"));
}

TEST_F(OnlyPeople, QuotesInTheSendersAddressAreEscaped) {
    set("true");
    const std::string sender = "\"x' or 1=1 -- \\\\\"@example.com";
    EXPECT_THAT(run_afresh(from(sender), {}, "user@example.com").mails, SizeIs(2));
    EXPECT_THAT(
        statements(),
        testing::Contains(EndsWith("d.name='example.com' and m.mail_name='x\\' or 1=1 -- \\\\'")));
}

// The recipient

TEST_F(OnlyPeople, MailThatDoesNotNameItsRecipientIsNotAnswered) {
    const std::string reason = "recipient in neither To: nor Cc:";
    for (const std::string& field :
         {"X: y"s, "To:"s, "To: undisclosed-recipients:;"s, "To: news@example.org"s,
          "Bcc: user@example.com"s, "Reply-To: Ann <user@example.org>\nX-To: user@example.com"s,
          "To: \"user@example.com\" <news@example.org>"s,
          "To: user@example.com <news@example.org>"s, "To: news@example.org (user@example.com)"s,
          "To: news@example.org (user@example.com"s, "To: user@example.com: news@example.org;"s,
          "To: <@example.com:user@example.org>"s, "To: user@example.com.example.org"s,
          "To: xuser@example.com"s, "To: user@off.example"s, "To: user@example.com@example.org"s,
          "To: user example.com"s, "To: " + kMegabyte + "user@example.com"s,
          "To: (" + kMegabyte + "user@example.com"s}) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_not_answered(reason, to(field));
    }
}

TEST_F(OnlyPeople, MailThatNamesItsRecipientIsAnswered) {
    for (const std::string& field : shapes("To", "User <user@example.com>")) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_answered(to(field));
    }
    for (const char* name : {"Cc", "RESENT-TO", "resent-cc"}) {
        SCOPED_TRACE(name);
        expect_answered(to("To: news@example.org\n"s + name + ":\n User <user@example.com>"));
    }
    for (const std::string& field :
         {"To: news@example.org\nTo: user@example.com"s, "To: a@b.org,\n \"user\"@example.com"s,
          "To: friends: a@b.org, Ann <USER@Example.Com>;, c@d.org"s,
          "To: \"Lee, Ann\" <user @ example\n .com>"s, "To: <@relay.example:user@example.com>"s,
          "To: \xFF\xC3\xB6, \"\xFF\" <user@example.com>"s, "To: ,, <>, user@example.com;"s,
          "To: x@y.org, " + kMegabyte + "@y.org, user@example.com"s}) {
        SCOPED_TRACE(field.substr(0, 60));
        expect_answered(to(field));
    }
}

TEST_F(OnlyPeople, TheRecipientIsNamedByEachOfItsAddresses) {
    for (const char* address :
         {"user@example.com", "info@example.com", "user@example.net", "INFO@EXAMPLE.NET"}) {
        for (const char* recipient : {"user@example.com", "info@example.net"}) {
            SCOPED_TRACE(address);
            SCOPED_TRACE(recipient);
            expect_answered(to("To: "s + address), {}, recipient);
        }
    }
}

TEST_F(OnlyPeople, InternationalisedDomainsAreRecognisedInBothForms) {
    const std::string written =
        "b\xC3\xBC"
        "cher.example";
    const std::string encoded = "xn--bcher-kva.example";
    set("true");
    for (const std::string& domain : {written, encoded}) {
        sql("update domains set name='" + domain + "'");
        for (const std::string& other : {written, encoded}) {
            SCOPED_TRACE(domain);
            SCOPED_TRACE(other);
            EXPECT_EQ(run_afresh(to("To: user@" + other), {}, "user@" + domain).err, "");
            EXPECT_EQ(run_afresh(to("To: user@example.org"), {}, "user@" + domain).err,
                      "autoresponder: Not answered: recipient in neither To: nor Cc:\n");
            EXPECT_EQ(run_afresh(from("info@" + other), {}, "user@" + domain).err,
                      "autoresponder: Not answered: sender is the mailbox itself\n");
        }
    }
}

TEST_F(OnlyPeople, AnInternationalisedDomainIsRecognisedBesideAnother) {
    set("true");
    sql("update domains set name='xn--bcher-kva.example'");
    sql("insert into domainaliases set dom_id=1, name='books.example', mail='true'");
    EXPECT_EQ(run_afresh(to("To: user@b\xC3\xBC"
                            "cher.example"),
                         {}, "user@books.example")
                  .err,
              "");
}

// What is asked of the database

TEST_F(OnlyPeople, TheHeaderAloneRefusesWithoutTheDatabase) {
    set("true");
    answer(with_field("List-Id: x"));
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(OnlyPeople, NothingIsAskedWhereNoResponderApplies) {
    set("true");
    sql("update mail_resp set key_where='subj', keystr='nothing like this'");
    const Outcome outcome = answer(from("info@example.com"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), SizeIs(2));
}

TEST_F(OnlyPeople, FurtherAddressesAreAskedForOnlyIfTheRecipientsIsNotThere) {
    const std::vector<std::string> further = {
        "select alias from mail_aliases where mn_id=1",
        "select da.name from domainaliases da, mail m where da.dom_id=m.dom_id and "
        "da.mail='true' and m.id=1"};
    set("true");
    answer(plain_message());
    EXPECT_THAT(statements(), testing::Not(testing::Contains(further[0])));
    EXPECT_THAT(statements(), testing::Not(testing::Contains(further[1])));
    answer(to("To: info@example.net"));
    EXPECT_THAT(statements(), testing::IsSupersetOf(further));
}

TEST_F(OnlyPeople, AStatementThatFailsEndsTheRun) {
    // Three statements set up the session, one does not count, two find mailbox and responders;
    // then four look the sender up and two ask for the mailbox's addresses.
    constexpr int statements_before = 6;
    for (int sent = 0; sent < 6; ++sent) {
        SCOPED_TRACE(sent);
        database().allow_statements(0);
        set("true");
        database().allow_statements(statements_before + sent);
        const Outcome outcome = answer(to("To: info@example.net"));
        EXPECT_THAT(outcome.err,
                    StartsWith(sent < 4 ? "autoresponder: Unable to query: User 'admin'"
                                        : "autoresponder: Unable to exec query :User "
                                          "'admin'"));
        EXPECT_THAT(outcome.mails, IsEmpty());
        database().allow_statements(0);
        EXPECT_EQ(counted(), 0U);
    }
}

// What replies bear

TEST_F(OnlyPeople, RepliesAreMarkedAsAutomaticAndNameTheMessage) {
    EXPECT_EQ(reply_to(with_field("Message-ID: <1.a@example.org>")),
              "From: user@example.com\n"
              "To: sender@example.org\n"
              "MIME-Version: 1.0\n"
              "Subject: Re: Hello\n"
              "Auto-Submitted: auto-replied\n"
              "In-Reply-To: <1.a@example.org>\n"
              "References: <1.a@example.org>\n"
              "Content-Type: text/plain; charset=\"UTF-8\"\n"
              "Content-Transfer-Encoding: 8bit\n"
              "Content-Disposition: inline\n"
              "\n"
              "Gone fishing.\n\n\n");
}

TEST_F(OnlyPeople, OnlyAWellFormedMessageIdIsNamed) {
    const auto named = [this](const std::string& field) {
        const std::string reply = reply_to(with_field(field));
        const std::string begin = "Subject: Re: Hello\nAuto-Submitted: auto-replied\n";
        EXPECT_THAT(reply, testing::HasSubstr(begin));
        const std::size_t marks = reply.find(begin) + begin.size();
        return reply.substr(marks, reply.find("Content-Type: ") - marks);
    };
    const auto fields = [](const std::string& id) {
        return "In-Reply-To: " + id + "\nReferences: " + id + "\n";
    };
    const std::string longest = "<" + std::string(994, 'x') + "@y>";
    EXPECT_EQ(named("Message-ID:\n " + longest), fields(longest));
    EXPECT_EQ(named("MESSAGE-ID: (x)\r\n <a@b> (y)\r"), fields("<a@b>"));
    EXPECT_EQ(named("Message-ID: <a@b>\nMessage-ID: <c@d>"), fields("<a@b>"));
    EXPECT_EQ(named("X: y"), "");
    EXPECT_EQ(named("Message-ID:"), "");
    EXPECT_EQ(named("Message-ID: <x" + longest.substr(1)), "");
    EXPECT_EQ(named("Message-ID: <a\n b@c>"), "");
    EXPECT_EQ(named("Message-ID: <a@b\r>"), "");
    EXPECT_EQ(named("Message-ID: <a@b>\n x: y"), "");
    EXPECT_EQ(named("Message-ID: <a\x01@b>"), "");
    EXPECT_EQ(named("Message-ID: <a\xFF@b>"), "");
    EXPECT_EQ(named("Message-ID: <a@" + kMegabyte + ">"), "");
}

TEST_F(OnlyPeople, TheNoticeOfALargeReplyIsMarkedToo) {
    set_databytes("10");
    EXPECT_EQ(reply_to(with_field("Message-ID: <1.a@example.org>")),
              "From: user@example.com\n"
              "CC: \n"
              "Subject: Re: Hello\n"
              "Auto-Submitted: auto-replied\n"
              "In-Reply-To: <1.a@example.org>\n"
              "References: <1.a@example.org>\n"
              "\n"
              "An error occurred while responding on you request.\n"
              "\n"
              "Autoresponder message size exceeds databytes limit.\n"
              "\n\n\n");
}

TEST_F(OnlyPeople, OtherMailsStayAsTheyAre) {
    add_attachment(1, "gone.txt");
    const std::string message = with_field("Message-ID: <1.a@example.org>");
    set("false");
    const std::vector<Submission> without = run_afresh(message, {}, "user@example.com").mails;
    set("true");
    const std::vector<Submission> with = run_afresh(message, {}, "user@example.com").mails;
    ASSERT_THAT(without, SizeIs(3));
    ASSERT_THAT(with, SizeIs(3));
    for (const std::size_t i : {0U, 1U}) {
        EXPECT_EQ(with[i].message, without[i].message);
        EXPECT_EQ(with[i].arguments, without[i].arguments);
    }
    EXPECT_EQ(with[2].arguments, without[2].arguments);
}

TEST_F(OnlyPeople, AReplyDrawsNoReply) {
    const std::string reply = reply_to(plain_message());
    sql("insert into domains set id=2, name='example.org', cl_id=1");
    sql("insert into mail set id=2, mail_name='sender', dom_id=2");
    sql("insert into mail_resp set id=2, mn_id=2, resp_on='true', text='Me too.'");
    EXPECT_THAT(answer(reply, "sender@example.org").mails, IsEmpty());
    set("false");
    EXPECT_THAT(answer(reply, "sender@example.org").mails, SizeIs(1));
}

// Memory

TEST_F(OnlyPeople, TheHeaderDoesNotKeepTheMessageInMemory) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    constexpr rlim_t megabyte = 1U << 20U;
    std::string body;
    while (body.size() < 16 * megabyte) {
        body += "QUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFB\n";
    }
    const std::string message =
        message_with({"To: user@example.com", "Content-Transfer-Encoding: base64"}, body);
    sql("update mail_resp set ans_freq='1000'");
    sql("delete from resp_forward");
    const auto is_answered_within = [&](rlim_t megabytes) {
        const Finished finished =
            start({.message = message, .limits = {{RLIMIT_AS, megabytes * megabyte}}})->wait();
        return finished.status == 0 && finished.err.empty();
    };
    set("false");
    rlim_t too_little = 32;
    rlim_t enough = 512;
    while (enough - too_little > 1) {
        const rlim_t middle = (too_little + enough) / 2;
        (is_answered_within(middle) ? enough : too_little) = middle;
    }
    set("true");
    EXPECT_TRUE(is_answered_within(enough + 2)) << enough << " MB are enough without the setting";
}

TEST_F(OnlyPeople, ASenderWithAZeroByteIsNotTheMailbox) {
    add_responder(1);
    const std::string sender("\"user\0x\"@example.com", 20);
    const Outcome outcome =
        answer("From: " + sender + "\nTo: user@example.com\nReturn-Path: <x@example.org>\n\nHi\n");
    EXPECT_EQ(outcome.err.find("sender is the mailbox itself"), std::string::npos) << outcome.err;
    EXPECT_EQ(sql("select * from resp_freq").size(), 1U);
}

}  // namespace
