// SPDX-License-Identifier: Apache-2.0

// A run from its start to its end: loop checks, status, cleaning up.

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/world.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

class Run : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    static std::string message_from(const std::string& address) {
        return "From: " + address + "\nSubject: Hello\n\nAre you there?\n";
    }
};

TEST_F(Run, APlainMessageIsAnswered) {
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Run, AMessageThatCannotBeAnalysedEndsTheRun) {
    const Outcome outcome = answer("Subject: from nobody\n\n");
    EXPECT_EQ(outcome.err,
              "Could not get sender's e-mail address from Reply-To: or From: headers.\n"
              "Abnormal exit.\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Run, AnEmptyInputEndsTheRun) {
    EXPECT_EQ(answer("").err,
              "Could not get sender's e-mail address from Reply-To: or From: headers.\n"
              "Abnormal exit.\n");
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Run, ASenderEqualToTheRecipientIsNotAnswered) {
    const Outcome outcome = answer(message_from("user@example.com"));
    EXPECT_EQ(outcome.err, "Field From: equial field To:\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Run, ASenderThatDiffersFromTheRecipientInLetterCaseIsAnswered) {
    const Outcome outcome = answer(message_from("User@example.com"));
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments.back(), "User@example.com");
}

TEST_F(Run, ASenderThatBeginsWithTheRecipientIsAnswered) {
    const Outcome outcome = answer(message_from("user@example.com.au"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Run, DaemonsAreNotAnswered) {
    for (const char* address : {"MAILER-DAEMON@example.org", "mailer-daemon@example.org",
                                "DrWEB-DAEMON@example.org", "x-MAILER-DAEMON-y@example.org",
                                "someone@mailer-daemon.example.org", "someone@DrWEB-DAEMON"}) {
        SCOPED_TRACE(address);
        const Outcome outcome = answer(message_from(address));
        EXPECT_EQ(outcome.err, "Field From: contains MAILER-DAEMON\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(statements(), IsEmpty());
    }
}

TEST_F(Run, OtherSpellingsOfDaemonsAreAnswered) {
    for (const char* address : {"Mailer-Daemon@example.org", "DRWEB-DAEMON@example.org",
                                "mailerdaemon@example.org", "MAILER@DAEMON.example.org"}) {
        SCOPED_TRACE(address);
        const Outcome outcome = answer(message_from(address));
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.mails, SizeIs(1));
    }
}

TEST_F(Run, TheCheckForEqualAddressesComesFirst) {
    const Outcome outcome =
        answer(message_from("mailer-daemon@example.com"), "mailer-daemon@example.com");
    EXPECT_EQ(outcome.err, "Field From: equial field To:\n");
}

TEST_F(Run, ADaemonAmongTheOtherHeadersIsNoReasonNotToAnswer) {
    const Outcome outcome = answer(
        message_with({"Sender: MAILER-DAEMON@example.org",
                      "Return-Path: <mailer-daemon@example.org>", "Subject: MAILER-DAEMON"}));
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Run, ARecipientThatIsADaemonAnswers) {
    sql("insert into mail set id=2, mail_name='MAILER-DAEMON', dom_id=1");
    sql("update mail_resp set mn_id=2");
    EXPECT_THAT(answer(plain_message(), "MAILER-DAEMON@example.com").mails, SizeIs(1));
}

TEST_F(Run, ASenderFromReplyToIsCheckedForLoops) {
    const Outcome outcome = answer(message_with({"Reply-To: user@example.com"}));
    EXPECT_EQ(outcome.err, "Field From: equial field To:\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(Run, WithoutAConfigurationFileTheDefaultsHold) {
    write_attachment("a.txt", "A");
    add_attachment(1, "a.txt");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, testing::HasSubstr("\n\nQQ==\n\n"));
}

TEST_F(Run, TheConfigurationFileMovesTheMailboxes) {
    write_file("/etc/tva/tva.conf", "# paths\nTOLVA_MAILNAMES_D\t/var/qmail/elsewhere  # moved\n");
    write_file("/var/qmail/elsewhere/example.com/user/@attachments/a.txt", "A");
    add_attachment(1, "a.txt");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, testing::HasSubstr("\n\nQQ==\n\n"));
}

TEST_F(Run, AnUnusableConfigurationFileDoesNotStopTheRun) {
    write_file("/etc/tva/tva.conf", "TOLVA_MAILNAMES_D=/var/qmail/elsewhere\n\n\xff\xfe nonsense");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
}

TEST_F(Run, ADirectoryInPlaceOfTheConfigurationFileDoesNotStopTheRun) {
    write_file("/etc/tva/tva.conf/file", "");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
}

TEST_F(Run, ThePortOfAServerAtALocalSocketIsNotLookedUp) {
    const std::string services = "/etc/services";  // a link to that of the machine
    std::filesystem::remove(services);
    write_file(services, "mysql 3306/tcp\n");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_NE(inotify_add_watch(watch, services.c_str(), IN_OPEN), -1);
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(1));
    std::array<char, 4096> event{};
    EXPECT_EQ(read(watch, event.data(), event.size()), -1) << services << " was opened";
    close(watch);
}

TEST_F(Run, TheConfigurationIsReadBeforeTheMessage) {
    write_file("/etc/tva/tva.conf", "TOLVA_MAILNAMES_D /var/qmail/first\n");
    write_file("/var/qmail/first/example.com/user/@attachments/a.txt", "first");
    write_file("/var/qmail/second/example.com/user/@attachments/a.txt", "second");
    add_attachment(1, "a.txt");
    const std::vector<std::string> before = temporary_files();
    const auto program = start({.message = plain_message(), .hold_input_open = true});
    ASSERT_TRUE(soon([&] { return temporary_files() != before; }));
    write_file("/etc/tva/tva.conf", "TOLVA_MAILNAMES_D /var/qmail/second\n");
    program->end_input();
    const Outcome outcome = settle(*program, before);
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, testing::HasSubstr("\nZmlyc3Q=\n"));
}

TEST_F(Run, WithoutANameTheProgramIsCalledAutoresponderInTheLog) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    EXPECT_THAT(run({.message = plain_message(), .name = ""}).err,
                testing::StartsWith("autoresponder: Unable to connect to Tolva Database: "));
}

TEST_F(Run, TheLogGoesByTheLastPartOfTheProgramsName) {
    write_file("/etc/tva/.tva.shadow", "wrong\n");
    EXPECT_THAT(run({.message = plain_message(), .name = "/opt/reply-robot"}).err,
                testing::StartsWith("reply-robot: Unable to connect to Tolva Database: "));
}

}  // namespace
