#include "control/mail_files.h"

#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "control/failure.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

std::string content_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ExplainedMail forward() {
    return {.kind = ExplainedMail::Kind::kForward,
            .sender = "a@b.org",
            .recipients = {"c@d.org", "e@f.org"}};
}

const auto kWriteMail = [](std::ostream& out) { out << "Subject: x\n\ntext\n"; };

TEST(MailFiles, HoldEachMailAndItsEnvelope) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, kWriteMail);
    EXPECT_EQ(mail.file, directory.path("mails/1-forward.eml"));
    EXPECT_EQ(mail.size, 17U);
    EXPECT_EQ(content_of(mail.file), "Subject: x\n\ntext\n");
    EXPECT_EQ(content_of(directory.path("mails/1-forward.envelope")),
              "a@b.org\nc@d.org\ne@f.org\n");
}

TEST(MailFiles, AreNumbered) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail first = forward();
    ExplainedMail second = forward();
    second.kind = ExplainedMail::Kind::kSizeNotice;
    files.add(first, kWriteMail);
    files.add(second, kWriteMail);
    EXPECT_EQ(second.file, directory.path("mails/2-size-notice.eml"));
}

TEST(MailFiles, AreForTheirOwnerOnly) {
    const TemporaryDirectory directory;
    MailFiles files(directory.path("mails"));
    ExplainedMail mail = forward();
    files.add(mail, kWriteMail);
    struct stat status {};
    ASSERT_EQ(stat(mail.file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(MailFiles, WithoutADirectoryAreNotWrittenButMeasured) {
    MailFiles files(std::nullopt);
    ExplainedMail mail = forward();
    files.add(mail, kWriteMail);
    EXPECT_EQ(mail.file, "");
    EXPECT_EQ(mail.size, 17U);
}

TEST(MailFiles, ThatCannotBeWrittenAreAFailure) {
    const TemporaryDirectory directory;
    directory.put("file", "");
    EXPECT_THROW(MailFiles(directory.path("none/mails")), Failure);
    MailFiles files(directory.path("file"));
    ExplainedMail mail = forward();
    EXPECT_THROW(files.add(mail, kWriteMail), Failure);
}

TEST(MailFiles, FollowNoLinkThatLiesInTheirPlace) {
    const TemporaryDirectory directory;
    directory.put("victim", "kept");
    std::filesystem::create_symlink("victim", directory.path("1-forward.eml"));
    MailFiles files(directory.path());
    ExplainedMail mail = forward();
    EXPECT_THROW(files.add(mail, kWriteMail), Failure);
    EXPECT_EQ(content_of(directory.path("victim")), "kept");
}

}  // namespace
