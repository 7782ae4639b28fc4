// SPDX-License-Identifier: Apache-2.0

// The notice to the owner of a domain about files that are not in the attachment repository.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

std::string notice(const std::string& sender = "root@localhost",
                   const std::string& missing = "gone.txt\n") {
    return "From: " + sender +
           "\n"
           "To: owner@clients.example\n"
           "CC: \n"
           "Subject: tva notification (files missing in attachments repository). \n"
           "Content-Type: text/plain; charset=utf-8\n"
           "Content-Disposition: inline\n"
           "Content-Transfer-Encoding: 8bit\n"
           "\n"
           "\n"
           "Notification for tva client 'The Owner'.\n"
           "\n"
           "The following files are missing in the attachment repository\n"
           "for the mailname 'user' on domain 'example.com':\n" +
           missing + "\n";
}

std::vector<std::string> notice_arguments(const std::string& sender = "root@localhost") {
    return {"/usr/sbin/sendmail", "-f", sender, "owner@clients.example"};
}

class MissingFileNotice : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
        add_attachment(1, "gone.txt");
    }

    // Runs a plain message, which must draw its reply and no notice, and returns standard error.
    std::string without_notice() {
        const Outcome outcome = answer(plain_message());
        EXPECT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails.at(0).message, plain_reply());
        return outcome.err;
    }
};

TEST_F(MissingFileNotice, GoesToTheOwnerBeforeTheReply) {
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments, notice_arguments());
    EXPECT_EQ(outcome.mails[0].message, notice());
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(MissingFileNotice, AsksForTheOwnerOfTheDomain) {
    answer(plain_message());
    const std::vector<std::string> sent = statements();
    EXPECT_THAT(std::vector<std::string>(sent.end() - 4, sent.end()),
                ElementsAre("select filename from resp_attach where rn_id=1",
                            "select c.email, c.pname, c.login from clients c, domains d where "
                            "d.cl_id=c.id and d.name='example.com'",
                            "select val from misc where param='admin_email'",
                            "select val from misc where param='FullHostName'"));
}

TEST_F(MissingFileNotice, ListsEachMissingFileTrimmedAndNoOther) {
    write_attachment("here.txt", "A");
    add_attachment(1, "here.txt");
    add_attachment(1, "  two words \t");
    sql("insert into resp_attach set rn_id=1, filename=NULL");
    add_attachment(1, "");
    add_attachment(1, "it's");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, notice("root@localhost", "gone.txt\ntwo words\nit's\n"));
    EXPECT_THAT(outcome.mails[1].message, HasSubstr("filename=\"here.txt\""));
}

TEST_F(MissingFileNotice, ANameWithLineEndsAddsNoLineOfItsOwn) {
    add_attachment(1, "a.txt\n\nPay the bill at:\r\n\tevil.example\x1b[1m\x7f");
    add_attachment(1,
                   "gr\xc3\xbc\xc3\x9f"
                   "e.txt");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message,
              notice("root@localhost",
                     "gone.txt\na.txt??Pay the bill at:???evil.example?[1m?\n"
                     "gr\xc3\xbc\xc3\x9f"
                     "e.txt\n"));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(MissingFileNotice, ReplyToRunsIntoFrom) {
    sql("update mail_resp set reply_to='desk@example.com'");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, "Reply-To: desk@example.com" + notice());
}

TEST_F(MissingFileNotice, AdministratorsAddressIsTheSender) {
    sql("insert into misc values ('admin_email', 'admin@panel.example'), "
        "('FullHostName', 'host.example')");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments, notice_arguments("admin@panel.example"));
    EXPECT_EQ(outcome.mails[0].message, notice("admin@panel.example"));
    EXPECT_THAT(statements().back(), HasSubstr("'admin_email'"));
}

TEST_F(MissingFileNotice, RootOfTheHostIsTheSenderWithoutAnAdministratorsAddress) {
    sql("insert into misc values ('admin_email', ''), ('FullHostName', 'host.example')");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments, notice_arguments("root@host.example"));
    EXPECT_EQ(outcome.mails[0].message, notice("root@host.example"));
}

TEST_F(MissingFileNotice, RootOfTheLocalHostIsTheSenderWithoutSettings) {
    sql("insert into misc values ('admin_email', NULL), ('FullHostName', NULL)");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, notice("root@localhost"));
}

TEST_F(MissingFileNotice, SettingsThatCannotBeReadCountAsEmpty) {
    // Four statements for the session, then mailbox, responders, four for the frequency, forwards,
    // attachments, owner.
    database().allow_statements(13);
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, notice("root@localhost"));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
    const auto line = [](const std::string& name) {
        return "autoresponder: Unable to query parameter by query select val from misc where "
               "param='" +
               name +
               "': User 'admin' has exceeded the 'max_queries_per_hour' resource (current value: "
               "13)\n";
    };
    EXPECT_EQ(outcome.err, line("admin_email") + line("FullHostName"));
    EXPECT_EQ(outcome.out, outcome.err);
}

TEST_F(MissingFileNotice, ASettingWhoseRowCannotBeReadCountsAsEmpty) {
    sql("insert into misc values ('admin_email', 'admin@panel.example')");
    spoil_rows("misc");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, notice("root@localhost"));
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to query parameter by query select val from misc where "
              "param='admin_email': " +
                  kRowFailure + "\n");
}

TEST_F(MissingFileNotice, ShowsTheLoginOfAClientWithoutAName) {
    for (const char* name : {"''", "NULL"}) {
        sql("update clients set pname=" + std::string(name));
        const Outcome outcome = answer(plain_message());
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_THAT(outcome.mails[0].message, HasSubstr("Notification for tva client 'owner'.\n"));
    }
}

TEST_F(MissingFileNotice, IsNotSentToAClientWithoutAnAddress) {
    for (const char* address : {"''", "NULL"}) {
        sql("update clients set email=" + std::string(address));
        EXPECT_EQ(without_notice(), "");
    }
}

TEST_F(MissingFileNotice, IsNotSentWithoutAClient) {
    sql("delete from clients");
    EXPECT_EQ(without_notice(), "This client does not exist :\n");
}

TEST_F(MissingFileNotice, AnAddressOnADomainAliasFindsNoClient) {
    sql("insert into domainaliases set dom_id=1, name='example.net', mail='true'");
    const Outcome outcome = answer(plain_message(), "user@example.net");
    EXPECT_EQ(outcome.err, "This client does not exist :\n");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(MissingFileNotice, IsNotSentWhenTheClientsCannotBeRead) {
    lose_table("clients");
    EXPECT_EQ(without_notice(),
              "Unable to define client email and personal name :Table 'tva.clients' doesn't "
              "exist\n");
}

TEST_F(MissingFileNotice, IsNotSentWhenTheRowsOfTheClientsCannotBeRead) {
    spoil_rows("clients");
    EXPECT_EQ(without_notice(),
              "Unable to define client email and personal name :" + kRowFailure + "\n");
}

TEST_F(MissingFileNotice, NamesTheAddressAsWritten) {
    sql("insert into mail set id=2, mail_name='o\\'neil', dom_id=1");
    sql("update mail_resp set mn_id=2");
    const Outcome outcome = answer(plain_message(), "o'neil@example.com");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_THAT(outcome.mails[0].message,
                HasSubstr("for the mailname 'o'neil' on domain 'example.com':\n"));
}

TEST_F(MissingFileNotice, IsSentForEachAnsweringResponder) {
    add_responder(2, "text='Second', reply_to='desk@example.com'");
    add_attachment(2, "lost.txt");
    add_responder(3, "text='Third', resp_on='false'");
    add_attachment(3, "never.txt");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(4));
    EXPECT_EQ(outcome.mails[0].message, notice());
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
    EXPECT_EQ(outcome.mails[2].message,
              "Reply-To: desk@example.com" + notice("root@localhost", "lost.txt\n"));
    EXPECT_THAT(outcome.mails[3].message, HasSubstr("\nSecond\n\n\n"));
}

TEST_F(MissingFileNotice, IsNotSentWithoutAnotherProgram) {
    const Outcome outcome = run({.message = plain_message(), .refuse_programs = true});
    EXPECT_THAT(outcome.err,
                HasSubstr("autoresponder: Failed to spawn sendmail to notify about missing "
                          "attachment files: Resource temporarily unavailable (11)\n"));
    EXPECT_THAT(outcome.mails, IsEmpty());
}

// A file that cannot be looked up may be there.
TEST_F(MissingFileNotice, ALargeOneReachesTheMailProgramWhole) {
    std::string missing = "gone.txt\n";
    for (int i = 0; i < 3000; ++i) {
        const std::string name = "a file with quite a long name, number " + std::to_string(i);
        add_attachment(1, name);
        missing += name + "\n";
    }
    for (const char* how : {"", "slow"}) {
        SCOPED_TRACE(how);
        mail_program_behaves(how);
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_EQ(outcome.mails[0].message, notice("root@localhost", missing));
    }
}

TEST_F(MissingFileNotice, AMailProgramThatDoesNotReadALargeOneDoesNotEndTheRun) {
    for (int i = 0; i < 3000; ++i) {
        add_attachment(1, "a file with quite a long name, number " + std::to_string(i));
    }
    mail_program_behaves("unread");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].arguments, notice_arguments());
    EXPECT_EQ(outcome.mails[1].arguments, reply_arguments());
    EXPECT_EQ(outcome.err, "Unable to send mail with notify of not exist attachment.\n");
}

TEST_F(MissingFileNotice, HoldsNoReplyAddressWithALineEnd) {
    sql("update mail_resp set reply_to='desk@example.com\nFrom: admin@example.com\n\nPay here.'");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Responder 1: reply_to holds a control character, left out\n");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, notice("root@localhost", "gone.txt\n"));
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

TEST_F(MissingFileNotice, AnAddressThatLooksLikeAnOptionGetsNone) {
    sql("update clients set email='-oQ/tmp@clients.example'");
    EXPECT_EQ(without_notice(),
              "autoresponder: No notice about missing attachment files to "
              "'-oQ/tmp@clients.example': the address begins with a hyphen\n");
}

TEST_F(MissingFileNotice, AnAddressWithAControlCharacterGetsNone) {
    sql("update clients set email='a@clients.example\nBcc: b@clients.example'");
    EXPECT_EQ(without_notice(),
              "autoresponder: No notice about missing attachment files to 'a@clients.example?"
              "Bcc: b@clients.example': the address holds a control character\n");
}

TEST_F(MissingFileNotice, AParserReadsBackItsText) {
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    const ReadMail mail = read_mail(outcome.mails[0].message);
    EXPECT_EQ(mail.from, "root@localhost");
    EXPECT_EQ(mail.to, "owner@clients.example");
    EXPECT_EQ(mail.subject, "tva notification (files missing in attachments repository).");
    EXPECT_THAT(mail.text, StartsWith("\nNotification for tva client 'The Owner'.\n"));
}

TEST_F(MissingFileNotice, WithAReplyAddressAParserFindsNoSender) {
    // The line end that is missing on purpose after the Reply-To address hides the From field.
    sql("update mail_resp set reply_to='desk@example.com'");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    const ReadMail mail = read_mail(outcome.mails[0].message);
    EXPECT_EQ(mail.from, "");
    EXPECT_EQ(mail.to, "owner@clients.example");
    EXPECT_EQ(mail.subject, "tva notification (files missing in attachments repository).");
}

}  // namespace
