// SPDX-License-Identifier: Apache-2.0

#include "control/mail_files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "control/failure.h"
#include "support/descriptor.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder::control;

std::string content_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ExplainedMail forward() {
    return {.kind = ExplainedMail::Kind::kForward,
            .sender = "a@b.org",
            .recipients = {"c@d.org", "e@f.org"}};
}

constexpr std::string_view kMail = "Subject: x\n\ntext\n";

// A file in memory with that text, at its start.
tolva::Descriptor in_memory(std::string_view text) {
    tolva::Descriptor file(memfd_create("mail", MFD_CLOEXEC));
    EXPECT_TRUE(tolva::write_whole(file.get(), text));
    EXPECT_EQ(lseek(file.get(), 0, SEEK_SET), 0);
    return file;
}

// What the failure says; empty if there is none.
std::string failure_of(const MailFiles& files) {
    try {
        files.throw_if_failed();
        return "";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

TEST(MailFiles, HoldEachMailAndItsEnvelope) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, kMail);
    EXPECT_EQ(failure_of(files), "");
    EXPECT_EQ(mail.file, directory.path("mails/1-forward.eml"));
    EXPECT_EQ(mail.size, 17U);
    EXPECT_EQ(content_of(mail.file), "Subject: x\n\ntext\n");
    EXPECT_EQ(content_of(directory.path("mails/1-forward.envelope")),
              "a@b.org\nc@d.org\ne@f.org\n");
}

TEST(MailFiles, HoldAMailThatIsReadWhateverItsSize) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    for (const std::size_t size : {0U, 17U, 65535U, 65536U, 65537U, 131072U, 1000000U}) {
        const std::string text(size, 'x');
        ExplainedMail mail = forward();
        files.add(mail, in_memory(text));
        EXPECT_EQ(failure_of(files), "");
        EXPECT_EQ(mail.size, size);
        EXPECT_TRUE(content_of(mail.file) == text) << size;
    }
    EXPECT_EQ(content_of(directory.path("mails/7-forward.envelope")),
              "a@b.org\nc@d.org\ne@f.org\n");
}

TEST(MailFiles, AreNumbered) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail first = forward();
    ExplainedMail second = forward();
    second.kind = ExplainedMail::Kind::kSizeNotice;
    files.add(first, kMail);
    files.add(second, in_memory(kMail));
    EXPECT_EQ(first.file, directory.path("mails/1-forward.eml"));
    EXPECT_EQ(second.file, directory.path("mails/2-size-notice.eml"));
}

TEST(MailFiles, AreForTheirOwnerOnly) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, kMail);
    struct stat status {};
    ASSERT_EQ(stat(mail.file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(MailFiles, WithoutADirectoryAreNotWrittenButMeasured) {
    MailFiles files(std::nullopt);
    ExplainedMail mail = forward();
    files.add(mail, kMail);
    EXPECT_EQ(mail.file, "");
    EXPECT_EQ(mail.size, 17U);
    ExplainedMail read_mail = forward();
    files.add(read_mail, in_memory(std::string(100'000, 'x')));
    EXPECT_EQ(read_mail.file, "");
    EXPECT_EQ(read_mail.size, 100'000U);
    EXPECT_EQ(failure_of(files), "");
}

TEST(MailFiles, NeedADirectoryThatCanBeMade) {
    const TemporaryDirectory directory;
    EXPECT_THROW(MailFiles(directory.path("none/mails")), Failure);
}

TEST(MailFiles, ThatCannotBeWrittenAreAFailure) {
    const TemporaryDirectory directory;
    directory.put("file", "");
    const std::string failure =
        "cannot write " + directory.path("file/1-forward.eml") + ": Not a directory (20)";
    ExplainedMail mail = forward();
    MailFiles files(directory.path("file"));
    files.add(mail, kMail);
    EXPECT_EQ(failure_of(files), failure);
    MailFiles files_of_read_mails(directory.path("file"));
    files_of_read_mails.add(mail, in_memory(kMail));
    EXPECT_EQ(failure_of(files_of_read_mails), failure);
}

TEST(MailFiles, ThatCannotBeReadAreAFailure) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, tolva::Descriptor(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    EXPECT_EQ(failure_of(files), "cannot write the mail: Is a directory (21)");
}

TEST(MailFiles, WithoutAnEnvelopeAreAFailure) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path("1-forward.envelope"));
    MailFiles files(directory.path());
    ExplainedMail mail = forward();
    files.add(mail, kMail);
    EXPECT_EQ(failure_of(files),
              "cannot write " + directory.path("1-forward.envelope") + ": Is a directory (21)");
}

TEST(MailFiles, KeepTheFirstFailureAndAreNotWrittenAfterIt) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path("1-forward.eml"));
    MailFiles files(directory.path());
    ExplainedMail first = forward();
    ExplainedMail second = forward();
    ExplainedMail third = forward();
    files.add(first, kMail);
    const std::string failure = failure_of(files);
    EXPECT_EQ(failure, "cannot write " + directory.path("1-forward.eml") + ": Is a directory (21)");
    std::filesystem::create_directory(directory.path("2-forward.eml"));
    files.add(second, kMail);
    files.add(third, in_memory(kMail));
    EXPECT_EQ(failure_of(files), failure);
    EXPECT_FALSE(std::filesystem::exists(directory.path("3-forward.eml")));
    EXPECT_FALSE(std::filesystem::exists(directory.path("3-forward.envelope")));
}

TEST(MailFiles, FollowNoLinkThatLiesInTheirPlace) {
    const TemporaryDirectory directory;
    directory.put("victim", "kept");
    std::filesystem::create_symlink("victim", directory.path("1-forward.eml"));
    ExplainedMail mail = forward();
    MailFiles files(directory.path());
    files.add(mail, kMail);
    EXPECT_EQ(failure_of(files), "cannot write " + directory.path("1-forward.eml") +
                                     ": Too many levels of symbolic links (40)");
    EXPECT_EQ(content_of(directory.path("victim")), "kept");
    MailFiles other_files(directory.path());
    other_files.add(mail, in_memory(kMail));
    EXPECT_NE(failure_of(other_files), "");
    EXPECT_EQ(content_of(directory.path("victim")), "kept");
}

}  // namespace
