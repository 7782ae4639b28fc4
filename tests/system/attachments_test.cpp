// SPDX-License-Identifier: Apache-2.0

// Files from the attachment repository, as parts of the reply.

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

class Attachments : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    static void attach(const std::string& name, std::string_view bytes) {
        write_attachment(name, bytes);
        add_attachment(1, name);
    }

    // The reply to a plain message; nothing may be reported.
    std::string reply() {
        const Outcome outcome = answer(plain_message());
        EXPECT_EQ(outcome.err, "");
        return outcome.mails.size() == 1 ? outcome.mails[0].message : "(none)";
    }
};

// A part as it must stand in the reply: the name as in the header, the Base64 lines whole.
std::string part(const std::string& name, const std::string& lines,
                 const std::string& boundary = kFirstBoundary) {
    return "--" + boundary +
           "\n"
           "Content-Type: application/octet-stream\n"
           "Content-Transfer-Encoding: base64\n"
           "Content-Disposition: attachment;\n"
           "\tfilename=\"" +
           name +
           "\"\n"
           "\n" +
           lines + "\n";
}

// The reply that holds these parts.
std::string reply_of(const std::string& parts, const std::string& boundary = kFirstBoundary) {
    return "From: user@example.com\n"
           "To: sender@example.org\n"
           "MIME-Version: 1.0\n"
           "Subject: Re: Hello\n"
           "Content-Type: multipart/mixed;\n"
           "\tboundary=\"" +
           boundary +
           "\"\n"
           "\n"
           "--" +
           boundary +
           "\n"
           "Content-Type: text/plain; charset=\"UTF-8\"\n"
           "Content-Transfer-Encoding: 8bit\n"
           "Content-Disposition: inline\n"
           "\n"
           "Gone fishing.\n\n\n" +
           parts + "--" + boundary + "--\n";
}

// Bytes of every value, without a short period.
std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 1;
    for (char& byte : bytes) {
        state = state * 1103515245U + 12345U;
        byte = static_cast<char>(state >> 16U);
    }
    return bytes;
}

// What the program says of a file that it cannot read.
std::string unreadable(const std::string& path, const std::string& reason) {
    return "autoresponder: Failed to read attachement file '" + path + "': " + reason + "\n";
}

TEST_F(Attachments, WithoutRowsNothingIsAttachedAndNoNoticeSent) {
    EXPECT_EQ(reply(), plain_reply());
}

TEST_F(Attachments, AnEmptyFileYieldsNoLines) {
    attach("empty", "");
    EXPECT_EQ(reply(), reply_of(part("empty", "")));
}

TEST_F(Attachments, OneByteYieldsFourCharacters) {
    attach("one", "A");
    EXPECT_EQ(reply(), reply_of(part("one", "QQ==\n")));
}

TEST_F(Attachments, FortyFourBytesYieldOneLineWithPadding) {
    attach("f44", std::string(44, 'A'));
    EXPECT_EQ(
        reply(),
        reply_of(part("f44", "QUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUE=\n")));
}

TEST_F(Attachments, FortyFiveBytesYieldOneFullLine) {
    attach("f45", std::string(45, 'A'));
    EXPECT_EQ(
        reply(),
        reply_of(part("f45", "QUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFB\n")));
}

TEST_F(Attachments, FortySixBytesYieldASecondLineWithTwoPaddingCharacters) {
    attach("f46", std::string(46, 'A'));
    EXPECT_EQ(reply(),
              reply_of(part("f46",
                            "QUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFB\n"
                            "QQ==\n")));
}

TEST_F(Attachments, TwoRunsHaveTheSameBoundary) {
    attach("one", "A");
    EXPECT_EQ(reply(), reply());
}

TEST_F(Attachments, TwoRepliesOfARunHaveDifferentBoundaries) {
    attach("one", "A");
    add_responder(2);
    add_attachment(2, "one");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, reply_of(part("one", "QQ==\n")));
    EXPECT_EQ(outcome.mails[1].message,
              reply_of(part("one", "QQ==\n", kSecondBoundary), kSecondBoundary));
}

TEST_F(Attachments, ABoundaryIsMadeForAReplyWithoutAttachmentsToo) {
    attach("one", "A");
    sql("update resp_attach set rn_id=2");
    add_responder(2);
    const Outcome outcome = answer(plain_message());
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
    EXPECT_EQ(outcome.mails[1].message,
              reply_of(part("one", "QQ==\n", kSecondBoundary), kSecondBoundary));
}

TEST_F(Attachments, FilesStandInTheOrderOfTheirRows) {
    attach("b.txt", "B");
    attach("a.txt", "A");
    add_attachment(1, "b.txt");
    EXPECT_EQ(reply(), reply_of(part("b.txt", "Qg==\n") + part("a.txt", "QQ==\n") +
                                part("b.txt", "Qg==\n")));
}

TEST_F(Attachments, NamesAreEncodedAsHeadersAre) {
    attach("two words", "A");
    attach("it's \"quoted\".txt", "A");
    attach("sub/file.txt", "A");
    attach("Grüße.txt", "A");
    attach("a_b-c.txt", "A");
    EXPECT_EQ(reply(), reply_of(part("two words", "QQ==\n") +
                                part("=?utf-8?Q?it's_=22quoted=22.txt?=", "QQ==\n") +
                                part("=?utf-8?Q?sub=2Ffile.txt?=", "QQ==\n") +
                                part("=?utf-8?Q?Gr=C3=BC=C3=9Fe.txt?=", "QQ==\n") +
                                part("=?utf-8?Q?a=5Fb=2Dc.txt?=", "QQ==\n")));
}

TEST_F(Attachments, ANameWithBlanksAroundItIsTrimmed) {
    write_attachment("a.txt", "A");
    add_attachment(1, " \t a.txt \n");
    EXPECT_EQ(reply(), reply_of(part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, NullAndEmptyNamesAreIgnored) {
    sql("insert into resp_attach set rn_id=1, filename=NULL");
    add_attachment(1, "");
    EXPECT_EQ(reply(), plain_reply());
    attach("a.txt", "A");
    EXPECT_EQ(reply(), reply_of(part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, AParserReadsBackNamesAndBytes) {
    const std::vector<std::pair<std::string, std::string>> files = {
        {"empty", ""},
        {"two words", noise(1)},
        {"it's.txt", noise(44)},
        {"Grüße & Привет.bin", noise(45)},
        {"a=b?c_d (e)", noise(46)},
        {"large.bin", noise(1'000'000)}};
    for (const auto& [name, bytes] : files) {
        attach(name, bytes);
    }
    const ReadMail mail = read_mail(reply());
    EXPECT_EQ(mail.text, "Gone fishing.\n\n");
    ASSERT_EQ(mail.attachments.size(), files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(mail.attachments[i].name, files[i].first);
        EXPECT_TRUE(mail.attachments[i].bytes == files[i].second) << files[i].first;
    }
}

TEST_F(Attachments, AParserReadsBackAQuotationMarkFromTheEncodedNameAlone) {
    // An encoded word within a quoted string is not an encoded word by the letter of RFC 2047; a
    // parser that decodes it all the same may take a decoded quotation mark for the end of the
    // string.
    attach("a \"quoted\" name", "A");
    const std::string message = reply();
    const std::size_t begin = message.find("filename=\"") + 10;
    const std::string name = message.substr(begin, message.find('"', begin) - begin);
    EXPECT_EQ(decode_words(name), "a \"quoted\" name");
    EXPECT_EQ(read_mail(message).attachments.at(0).bytes, "A");
}

TEST_F(Attachments, ADirectoryIsReportedAndItsPartLeftEmpty) {
    std::filesystem::create_directories(attachment_path("directory"));
    add_attachment(1, "directory");
    attach("a.txt", "A");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, unreadable(attachment_path("directory"), "Is a directory (21)"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, reply_of(part("directory", "") + part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, AFileThatCannotBeOpenedIsReportedAndItsPartLeftEmpty) {
    // Root may read any file, but nobody can open a socket.
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::filesystem::create_directories(attachment_path(""));
    const std::string path = attachment_path("socket");
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(fd);
    add_attachment(1, "socket");
    attach("a.txt", "A");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, unreadable(path, "No such device or address (6)"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, reply_of(part("socket", "") + part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, AFileThatFailsToBeReadIsReported) {
    // A regular file by its status, and one that opens; nothing is mapped at its beginning.
    std::filesystem::create_directories(attachment_path(""));
    std::filesystem::create_symlink("/proc/self/mem", attachment_path("memory"));
    add_attachment(1, "memory");
    attach("a.txt", "A");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, unreadable(attachment_path("memory"), "Input/output error (5)"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, reply_of(part("memory", "") + part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, FifosAndDevicesDoNotBlock) {
    std::filesystem::create_directories(attachment_path(""));
    ASSERT_EQ(mkfifo(attachment_path("fifo").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", attachment_path("zero"));
    add_attachment(1, "fifo");
    add_attachment(1, "zero");
    attach("a.txt", "A");
    const Outcome outcome = answer(plain_message());
    EXPECT_THAT(outcome.err,
                testing::MatchesRegex("autoresponder: Failed to read attachement file '" +
                                      attachment_path("fifo") + "': [^\n]* .[0-9]+.\n" +
                                      "autoresponder: Failed to read attachement file '" +
                                      attachment_path("zero") + "': [^\n]* .[0-9]+.\n"));
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message,
              reply_of(part("fifo", "") + part("zero", "") + part("a.txt", "QQ==\n")));
}

TEST_F(Attachments, AFailingQueryEndsTheRunBeforeTheReply) {
    lose_table("resp_attach");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err,
              "autoresponder: Unable to exec query :Table 'tva.resp_attach' doesn't exist\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(statements().back(), "select filename from resp_attach where rn_id=1");
}

TEST_F(Attachments, NamesThatCannotBeReadEndTheRunBeforeTheReply) {
    attach("a.txt", "A");
    spoil_rows("resp_attach");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "autoresponder: Unable to exec query :" + kRowFailure + "\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_EQ(statements().back(), "select filename from resp_attach where rn_id=1");
}

TEST_F(Attachments, AGibibyteNeverLiesInMemory) {
    constexpr std::uint64_t file_size = std::uint64_t{1} << (kSanitized ? 28U : 30U);
    struct statvfs room {};
    statvfs("/tmp", &room);
    if (room.f_bavail * room.f_frsize < 2 * file_size) {
        GTEST_SKIP() << "the reply needs 1.4 GiB in /tmp";
    }
    write_attachment("sparse", "");
    std::filesystem::resize_file(attachment_path("sparse"), file_size);
    add_attachment(1, "sparse");
    mail_program_behaves("count");
    const Outcome outcome = answer(plain_message());
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    // 61 bytes for each 45, and a last line of 4 bytes for each 3 of the rest.
    const std::uint64_t lines = file_size / 45 * 61 + (file_size % 45 + 2) / 3 * 4 + 1;
    EXPECT_EQ(outcome.mails[0].size, reply_of(part("sparse", "")).size() + lines);
    EXPECT_LT(outcome.usage.ru_maxrss, 128 * 1024) << "in KiB";
}

}  // namespace
