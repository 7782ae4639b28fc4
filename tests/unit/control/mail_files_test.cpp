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

// What the constructor says of that directory; empty if nothing.
std::string objection_to(const std::string& directory) {
    try {
        const MailFiles files(directory);
        return "";
    } catch (const Failure& failure) {
        return failure.what();
    }
}

TEST(MailFiles, NeedADirectoryThatIsNoLink) {
    const TemporaryDirectory directory;
    directory.put("file", "");
    std::filesystem::create_directory_symlink(".", directory.path("link"));
    for (const char* name : {"file", "link"}) {
        const std::string path = directory.path(name);
        EXPECT_EQ(objection_to(path), "cannot write to " + path + ": Not a directory (20)");
        EXPECT_EQ(objection_to(path + "//"), "cannot write to " + path + ": Not a directory (20)");
    }
    EXPECT_EQ(objection_to(directory.path() + "/"), "");
}

TEST(MailFiles, NeedADirectoryThatNobodyElseMayWriteTo) {
    const TemporaryDirectory directory;
    for (const unsigned mode : {0720U, 0702U, 01777U}) {
        std::filesystem::permissions(directory.path(), std::filesystem::perms(mode));
        EXPECT_EQ(objection_to(directory.path()),
                  "cannot write to " + directory.path() + ": its group or others may write to it");
    }
    for (const unsigned mode : {0700U, 0755U, 01755U}) {
        std::filesystem::permissions(directory.path(), std::filesystem::perms(mode));
        EXPECT_EQ(objection_to(directory.path()), "");
    }
}

TEST(MailFiles, NeedADirectoryOfTheCaller) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root owns the directories that are there; ExplainedMails tries another's";
    }
    EXPECT_EQ(objection_to("/"), "cannot write to /: it belongs to user 0");
}

TEST(MailFiles, ThatCannotBeReadAreAFailure) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, tolva::Descriptor(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    EXPECT_EQ(failure_of(files), "cannot write the mail: Is a directory (21)");
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("mails")));
}

TEST(MailFiles, WhoseNamesExistAreAFailure) {
    const TemporaryDirectory directory;
    for (const char* name : {"1-forward.eml", "1-forward.envelope"}) {
        directory.put(name, "kept");
        MailFiles files(directory.path());
        MailFiles files_of_read_mails(directory.path());
        ExplainedMail mail = forward();
        files.add(mail, kMail);
        files_of_read_mails.add(mail, in_memory(kMail));
        const std::string failure = "cannot write " + directory.path(name) + ": File exists (17)";
        EXPECT_EQ(failure_of(files), failure);
        EXPECT_EQ(failure_of(files_of_read_mails), failure);
        EXPECT_EQ(content_of(directory.path(name)), "kept");
        std::filesystem::remove(directory.path(name));
        EXPECT_TRUE(std::filesystem::is_empty(directory.path())) << name;
    }
}

TEST(MailFiles, KeepTheFirstFailureAndRemoveWhatWasWritten) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path("2-forward.eml"));
    std::filesystem::create_directory(directory.path("3-forward.eml"));
    MailFiles files(directory.path());
    ExplainedMail first = forward();
    ExplainedMail second = forward();
    ExplainedMail third = forward();
    ExplainedMail fourth = forward();
    files.add(first, kMail);
    EXPECT_EQ(failure_of(files), "");
    EXPECT_EQ(content_of(directory.path("1-forward.eml")), kMail);
    files.add(second, kMail);
    const std::string failure =
        "cannot write " + directory.path("2-forward.eml") + ": File exists (17)";
    EXPECT_EQ(failure_of(files), failure);
    files.add(third, kMail);
    files.add(fourth, in_memory(kMail));
    EXPECT_EQ(failure_of(files), failure);
    std::filesystem::remove(directory.path("2-forward.eml"));
    std::filesystem::remove(directory.path("3-forward.eml"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST(MailFiles, FollowNoLinkThatLiesInTheirPlace) {
    const TemporaryDirectory directory;
    directory.put("victim", "kept");
    for (const char* target : {"victim", "nowhere"}) {
        std::filesystem::create_symlink(target, directory.path("1-forward.eml"));
        ExplainedMail mail = forward();
        MailFiles files(directory.path());
        files.add(mail, kMail);
        EXPECT_EQ(failure_of(files),
                  "cannot write " + directory.path("1-forward.eml") + ": File exists (17)");
        EXPECT_EQ(content_of(directory.path("victim")), "kept");
        EXPECT_FALSE(std::filesystem::exists(directory.path("nowhere")));
        std::filesystem::remove(directory.path("1-forward.eml"));
    }
}

TEST(MailFiles, StayInTheirDirectoryWhateverTakesItsName) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    std::filesystem::rename(directory.path("mails"), directory.path("moved"));
    std::filesystem::create_directory(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, kMail);
    EXPECT_EQ(failure_of(files), "");
    EXPECT_EQ(content_of(directory.path("moved/1-forward.eml")), kMail);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("mails")));
}

}  // namespace
