// SPDX-License-Identifier: Apache-2.0

// Size limit and submission of the reply.

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

class Delivery : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    // The reply to a plain message; nothing may be reported.
    std::string reply() {
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.size() == 1 ? outcome.mails[0].message : "(none)";
    }
};

std::string size_notice(const std::string& subject = "Re: Hello") {
    return "From: user@example.com\n"
           "CC: \n"
           "Subject: " +
           subject +
           "\n"
           "\n"
           "An error occurred while responding on you request.\n"
           "\n"
           "Autoresponder message size exceeds databytes limit.\n"
           "\n"
           "\n"
           "\n";
}

TEST_F(Delivery, WithoutASizeLimitTheReplyIsSent) {
    EXPECT_EQ(reply(), plain_reply());
}

TEST_F(Delivery, ASizeLimitThatIsNoPositiveNumberIsNone) {
    for (const char* limit : {"", "0", "-1", "none", "\n", "x100", "0x10"}) {
        SCOPED_TRACE(limit);
        set_databytes(limit);
        EXPECT_EQ(reply(), plain_reply());
    }
}

TEST_F(Delivery, AnUnreadableSizeLimitIsNone) {
    std::filesystem::create_directories("/var/qmail/control/databytes");
    EXPECT_EQ(reply(), plain_reply());
    SetUp();
    write_file("/var/qmail/control", "not a directory");
    EXPECT_EQ(reply(), plain_reply());
}

TEST_F(Delivery, AReplyAsLargeAsTheLimitIsSent) {
    set_databytes(std::to_string(plain_reply().size()) + "\n");
    EXPECT_EQ(reply(), plain_reply());
}

TEST_F(Delivery, AReplyOneByteLargerThanTheLimitIsReplacedByANotice) {
    set_databytes(std::to_string(plain_reply().size() - 1) + "\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments, reply_arguments());
    EXPECT_EQ(outcome.mails[0].message, size_notice());
}

TEST_F(Delivery, TheFirstWordOfTheSizeLimitCounts) {
    set_databytes(" \n\t10 1000000\n");
    EXPECT_EQ(reply(), size_notice());
    set_databytes("10kilobytes\n");
    EXPECT_EQ(reply(), size_notice());
}

TEST_F(Delivery, TheSizeNoticeNamesTheReplyAddressWhereThereIsOne) {
    set_databytes("1");
    sql("update mail_resp set reply_to='desk@example.com'");
    EXPECT_EQ(reply(), "Reply-To: desk@example.com\n" + size_notice());
}

TEST_F(Delivery, TheSizeNoticeAnswersTheIncomingSubject) {
    set_databytes("1");
    sql("update mail_resp set subject='<request_from>'");
    const Outcome outcome = answer(message_with({"Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?="}));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, size_notice("=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?="));
}

TEST_F(Delivery, TheSizeNoticeTakesThePlaceOfALargerReplyWithoutRemains) {
    write_attachment("large", std::string(100'000, 'x'));
    add_attachment(1, "large");
    set_databytes("65536");
    EXPECT_EQ(reply(), size_notice());
}

TEST_F(Delivery, NothingIsComposedBeyondTheSizeLimit) {
    // Eight GiB that take no room, and a /tmp that has none for them.
    write_attachment("endless", "");
    std::filesystem::resize_file(attachment_path("endless"), std::uintmax_t{8} << 30U);
    add_attachment(1, "endless");
    set_databytes("1000000");
    const SmallTmp tmp("size=4m");
    EXPECT_EQ(reply(), size_notice());
}

TEST_F(Delivery, NothingIsReadAfterTheFirstWriteThatFails) {
    write_attachment("endless", "");
    std::filesystem::resize_file(attachment_path("endless"), std::uintmax_t{1} << 42U);
    add_attachment(1, "endless");
    const SmallTmp tmp("size=4m");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(outcome.err,
                MatchesRegex("autoresponder: Failed to write temporary file with response mail "
                             "contents '/tmp/tva-response-uu-[A-Za-z0-9]+': No space left on "
                             "device .28.\n"
                             "autoresponder: Send error: Failed to generate response mail "
                             "contents\nSystem error 28: No space left on device\n"));
}

TEST_F(Delivery, TheSizeNoticeHoldsNoReplyAddressWithALineEnd) {
    set_databytes("1");
    sql("update mail_resp set reply_to='desk@example.com\nBcc: all@example.com'");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Responder 1: reply_to holds a control character, left out\n");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, size_notice());
}

TEST_F(Delivery, TheSizeNoticeHoldsTheOwnAddressUnconverted) {
    set_databytes("1");
    sql("update domains set name='пример.example'");
    const Outcome outcome = answer(plain_message(), "user@пример.example");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_THAT(outcome.mails[0].message, testing::StartsWith("From: user@пример.example\nCC: \n"));
    EXPECT_THAT(outcome.mails[0].arguments[2], MatchesRegex("xn--[ -~]+"));
}

TEST_F(Delivery, AParserReadsBackTheSizeNotice) {
    set_databytes("1");
    const ReadMail mail = read_mail(reply());
    EXPECT_EQ(mail.from, "user@example.com");
    EXPECT_EQ(mail.to, "");
    EXPECT_EQ(mail.subject, "Re: Hello");
    EXPECT_EQ(mail.text,
              "An error occurred while responding on you request.\n\n"
              "Autoresponder message size exceeds databytes limit.\n\n\n\n");
}

TEST_F(Delivery, EveryReplyFileIsPrivateAndNew) {
    add_responder(2);
    const Outcome outcome = run({.message = plain_message(), .umask = 0});
    ASSERT_THAT(outcome.mails, SizeIs(2));
    for (const Submission& mail : outcome.mails) {
        EXPECT_EQ(mail.input_mode, unsigned{S_IFREG | S_IRUSR | S_IWUSR});
        EXPECT_THAT(mail.input_name, MatchesRegex("/tmp/tva-response-uu-[A-Za-z0-9]+"));
    }
    EXPECT_NE(outcome.mails[0].input_name, outcome.mails[1].input_name);
}

TEST_F(Delivery, TheMailProgramInheritsNothingButItsStreams) {
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(3));
    for (const Submission& mail : outcome.mails) {
        EXPECT_THAT(mail.descriptors, ElementsAre(0, 1, 2));
        EXPECT_THAT(mail.ignored_signals, MatchesRegex("0+"));
        EXPECT_THAT(mail.blocked_signals, MatchesRegex("0+"));
    }
}

TEST_F(Delivery, AMailProgramThatIsMissingIsReportedByTheChild) {
    remove_mail_program();
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "fork_execv: execv(\"/usr/sbin/sendmail\") failed: No such file or directory\n");
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Delivery, AMailProgramThatIsNotExecutableIsReportedByTheChild) {
    std::filesystem::permissions("/usr/sbin/sendmail", std::filesystem::perms::owner_read);
    EXPECT_EQ(answer(plain_message()).err,
              "fork_execv: execv(\"/usr/sbin/sendmail\") failed: Permission denied\n");
}

TEST_F(Delivery, WithoutAMailProgramEveryMailIsTried) {
    add_forward(1, "copy@example.net");
    // The notice is longer than a pipe holds, so that it cannot be written before the child that
    // was to become the mail program has ended.
    for (int i = 0; i < 300; ++i) {
        add_attachment(1, std::to_string(i) + std::string(240, '.'));
    }
    remove_mail_program();
    const std::string line =
        "fork_execv: execv(\"/usr/sbin/sendmail\") failed: No such file or directory\n";
    EXPECT_EQ(answer(plain_message()).err,
              line + line + "Unable to send mail with notify of not exist attachment.\n" + line);
}

TEST_F(Delivery, TheMailProgramsStatusHasNoEffect) {
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    add_responder(2);
    for (const char* how : {"exit-75", "killed"}) {
        SCOPED_TRACE(how);
        mail_program_behaves(how);
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(outcome.mails, SizeIs(4));
        EXPECT_EQ(outcome.mails[2].message, plain_reply());
        EXPECT_EQ(outcome.mails[3].message, plain_reply());
    }
}

TEST_F(Delivery, AMailProgramThatDoesNotReadHasNoEffect) {
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    add_responder(2);
    mail_program_behaves("unread");
    EXPECT_THAT(answer(plain_message()).mails, SizeIs(4));
}

TEST_F(Delivery, TheMailProgramIsAwaited) {
    add_responder(2);
    mail_program_behaves("linger");
    // A second one that started before the first had ended would have met the first's file.
    replace_mail_program(
        "[[ -e /world/running ]] && echo overlap >&2\n"
        "touch /world/running; \"$CAPTURE\" \"$@\"; rm /world/running\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(2));
}

TEST_F(Delivery, TheLastReplyKeepsNoConnectionBusy) {
    add_responder(2);
    // Says how many connections the panel's user has, waiting some seconds for there to be none.
    replace_mail_program(
        "for ((tries = 0; tries < 30; tries++)); do\n"
        "  count=$(mariadb --no-defaults --user=root --skip-column-names --execute=\""
        "select count(*) from information_schema.processlist where user='admin'\")\n"
        "  ((count > 0)) || break\n"
        "  [[ -e /world/first-is-sent ]] || break\n"
        "  sleep 0.1\n"
        "done\n"
        "touch /world/first-is-sent\n"
        "echo \"$count\" >&2\n"
        "exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = answer(plain_message());
    std::filesystem::remove("/world/first-is-sent");
    EXPECT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.err, "1\n0\n");
}

TEST_F(Delivery, WhatTheMailProgramSaysPassesThrough) {
    replace_mail_program("cat >/dev/null; echo to standard output; echo to standard error >&2\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.out, "to standard output\n");
    EXPECT_EQ(outcome.err, "to standard error\n");
}

TEST_F(Delivery, AReplyFileThatCannotBeMadeIsASendErrorWithItsReason) {
    // Room for the copy of the incoming message only.
    const SmallTmp tmp("nr_inodes=2");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.mails, IsEmpty());
    const std::string record =
        "autoresponder: Send error: Failed to generate response mail contents\n"
        "System error 28: No space left on device\n";
    EXPECT_THAT(outcome.err,
                MatchesRegex("autoresponder: Failed to open temporary file with response mail "
                             "contents '/tmp/tva-response-uu-[A-Za-z0-9]+': No space left on "
                             "device .28.\n" +
                             record));
    EXPECT_EQ(outcome.out, record);
}

TEST_F(Delivery, ALinkInPlaceOfTheReplyFileIsNotFollowed) {
    // There is a reply file already when the notice about the missing file is sent.
    add_attachment(1, "missing.txt");
    replace_mail_program(
        "ln -sf /etc/passwd \"$(echo /tmp/tva-response-uu-*)\"; exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.err,
                MatchesRegex("autoresponder: Failed to open temporary file with response mail "
                             "contents '/tmp/tva-response-uu-[A-Za-z0-9]+': Too many levels of "
                             "symbolic links .40.\n"
                             "autoresponder: Send error: .*\nSystem error 40: .*\n"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments.back(), "owner@clients.example");
}

TEST_F(Delivery, AfterASendErrorTheNextRowFollows) {
    const SmallTmp tmp("nr_inodes=2");
    add_responder(2);
    add_forward(2, "copy@example.net");
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].arguments.back(), "copy@example.net");
    EXPECT_THAT(sql("select num from resp_freq"), SizeIs(2));
}

TEST_F(Delivery, TheFileIsOpenedBeforeTheAddressIsConverted) {
    // Both fail: the forward's mail program takes the file away, and no label has 70 characters.
    const std::string domain = std::string(70, 'a') + ".example";
    sql("update domains set name='" + domain + "'");
    add_attachment(1, "gone.txt");
    replace_mail_program("rm -f /tmp/tva-response-uu-*; exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = answer(plain_message(), "user@" + domain);
    EXPECT_THAT(
        outcome.err,
        MatchesRegex("autoresponder: IDN conversion error: Invalid length\n"
                     "autoresponder: Failed to open temporary file with response mail "
                     "contents '/tmp/tva-response-uu-[A-Za-z0-9]+': No such file or "
                     "directory .2.\n"
                     "autoresponder: Send error: Failed to generate response mail contents\n"
                     "System error 2: No such file or directory\n"));
}

// Whether `text` stands in the memory of that process that it can write to.
bool has_in_memory(pid_t process, const std::string& text) {
    const std::string directory = "/proc/" + std::to_string(process);
    std::ifstream maps(directory + "/maps");
    std::ifstream memory(directory + "/mem", std::ios::binary);
    std::size_t searched = 0;
    for (std::string line; std::getline(maps, line);) {
        std::size_t begin = 0;
        std::size_t end = 0;
        if (std::sscanf(line.c_str(), "%zx-%zx rw", &begin, &end) != 2 ||
            line.find(" rw") == std::string::npos) {
            continue;
        }
        std::string bytes(end - begin, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        searched += static_cast<std::size_t>(memory.gcount());
        if (bytes.find(text) != std::string::npos) {
            return true;
        }
    }
    EXPECT_GT(searched, 100'000U);
    return false;
}

TEST_F(Delivery, ThePasswordOfTheDatabaseIsNotInMemoryWhileMailIsSent) {
    if (kSanitized) {
        GTEST_SKIP() << "too much memory to search";
    }
    add_responder(2);  // so that the session is still open when the first reply is sent
    replace_mail_program(
        "touch /world/sending; while test -e /world/sending; do sleep 0.02; done\n"
        "exec \"$CAPTURE\" \"$@\"\n");
    const auto program = start({.message = plain_message()});
    ASSERT_TRUE(soon([] { return std::filesystem::exists("/world/sending"); }));
    EXPECT_TRUE(has_in_memory(program->pid(), "sender@example.org"));
    EXPECT_FALSE(has_in_memory(program->pid(), lines_of("/etc/tva/.tva.shadow").at(0)));
    replace_mail_program("exec \"$CAPTURE\" \"$@\"\n");
    std::filesystem::remove("/world/sending");
    EXPECT_EQ(program->wait().status, 0);
}

TEST_F(Delivery, WithoutANewProcessTheReplyIsASendError) {
    const Outcome outcome = run({.message = plain_message(), .refuse_programs = true});
    EXPECT_THAT(outcome.mails, IsEmpty());
    const std::string failed_fork =
        "autoresponder: fork_execv_pipes: fork() failed\n"
        "System error 11: Resource temporarily unavailable\n";
    const std::string record =
        "autoresponder: Send error: Failed to spawn sendmail to send response mail\n"
        "System error 11: Resource temporarily unavailable\n";
    EXPECT_EQ(outcome.err, failed_fork +
                               "autoresponder: Failed to spawn sendmail for response: Resource "
                               "temporarily unavailable (11)\n" +
                               record);
    EXPECT_EQ(outcome.out, failed_fork + record);
}

TEST_F(Delivery, ASenderThatLooksLikeAnOptionGetsNoReply) {
    const Outcome outcome = answer("From: -oQ/tmp@example.org\n\nHello\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(outcome.err,
              "autoresponder: Send error: No reply to '-oQ/tmp@example.org': the address begins "
              "with a hyphen\n");
    EXPECT_EQ(outcome.out, outcome.err);
}

TEST_F(Delivery, ASenderWithAControlCharacterGetsNoReply) {
    const std::pair<const char*, const char*> senders[] = {
        {"sender@[10.0.0.1\n\tx]", "sender@[10.0.0.1??x]"},
        {"sender@[10.0.0.1\rBcc: x]", "sender@[10.0.0.1?Bcc: x]"},
        {"sender@[10.0.0.1\x7f]", "sender@[10.0.0.1?]"}};
    for (const auto& [address, shown] : senders) {
        SCOPED_TRACE(address);
        const Outcome outcome = answer("From: " + std::string(address) + "\n\nHello\n");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_EQ(outcome.err, "autoresponder: Send error: No reply to '" + std::string(shown) +
                                   "': the address holds a control character\n");
        EXPECT_EQ(outcome.out, outcome.err);
    }
}

}  // namespace
