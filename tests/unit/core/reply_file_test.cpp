// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/run/temporary_files.h"
#include "support/descriptor.h"
#include "tests/unit/support/process_state.h"

namespace {

using namespace autoresponder;
using testing_support::NoMoreDescriptors;
using Place = ReplyFile::Place;

std::string contents() {
    std::ifstream file(resp_uu_file_name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string read_all(const tolva::Descriptor& file) {
    std::string text(1000, '\0');
    std::size_t length = 0;
    EXPECT_TRUE(tolva::read_block(file.get(), text, length));
    return text.substr(0, length);
}

bool exists(const std::string& name) {
    struct stat status {};
    return lstat(name.c_str(), &status) == 0;
}

// The number of the error that `step` ends with, and what it reports.
struct Failure {
    int error = 0;
    std::string report;
};

Failure failure_of(const std::function<void()>& step) {
    Failure failure;
    testing::internal::CaptureStderr();
    try {
        step();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const SendError& error) {
        EXPECT_STREQ(error.what(), "Failed to generate response mail contents");
        failure.error = error.error();
    }
    failure.report = testing::internal::GetCapturedStderr();
    return failure;
}

Failure failure_to_open(const ReplyFile& file) {
    return failure_of([&] { const tolva::Descriptor opened = file.open(); });
}

std::string open_report(const std::string& reason) {
    return "autoresponder: Failed to open temporary file with response mail contents '" +
           std::string(resp_uu_file_name) + "': " + reason + "\n";
}

TEST(ReplyFile, IsReadableForItsOwnerOnly) {
    const ReplyFile file(Place::kTmp);
    struct stat status {};
    ASSERT_EQ(stat(resp_uu_file_name, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(ReplyFile, IsRemovedWithItsOwner) {
    std::optional<ReplyFile> file(std::in_place, Place::kTmp);
    const std::string name = resp_uu_file_name;
    EXPECT_TRUE(exists(name));
    file.reset();
    EXPECT_FALSE(exists(name));
}

TEST(ReplyFile, EveryFileOfARunHasANewName) {
    std::string first;
    {
        const ReplyFile file(Place::kTmp);
        first = resp_uu_file_name;
    }
    const ReplyFile file(Place::kTmp);
    EXPECT_NE(resp_uu_file_name, first);
    EXPECT_EQ(first.substr(0, 21), "/tmp/tva-response-uu-");
    EXPECT_EQ(std::string(resp_uu_file_name).substr(0, 21), "/tmp/tva-response-uu-");
}

TEST(ReplyFile, WritingAgainReplacesWhatWasThere) {
    const ReplyFile file(Place::kTmp);
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "a long first text\n"; });
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "short\n"; });
    EXPECT_EQ(contents(), "short\n");
}

TEST(ReplyFile, IsReadFromItsStart) {
    const ReplyFile file(Place::kTmp);
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "the reply\n"; });
    EXPECT_EQ(read_all(file.open()), "the reply\n");
    EXPECT_EQ(read_all(file.open()), "the reply\n");
}

TEST(ReplyFile, IsOpenedForReadingOnlyAndNotInherited) {
    const ReplyFile file(Place::kTmp);
    const tolva::Descriptor opened = file.open();
    EXPECT_EQ(fcntl(opened.get(), F_GETFL) & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(fcntl(opened.get(), F_GETFD), FD_CLOEXEC);
}

TEST(ReplyFile, TellsWhetherTheTextExceedsTheLimit) {
    for (const Place place : {Place::kTmp, Place::kMemory}) {
        const ReplyFile file(place);
        const auto write = [](std::ostream& out) { out << "0123456789"; };
        EXPECT_EQ(file.write(SizeLimit(10), write), ReplyFile::Written::kWhole);
        EXPECT_EQ(file.write(SizeLimit(9), write), ReplyFile::Written::kTooLarge);
    }
}

TEST(ReplyFile, TextThatCannotBeWrittenWholeIsAnError) {
    const ReplyFile file(Place::kTmp);
    const Failure failure = failure_of([&] {
        file.write(SizeLimit::none(),
                   [](std::ostream& out) { out.setstate(std::ios_base::badbit); });
    });
    EXPECT_EQ(failure.error, EIO);
    EXPECT_EQ(failure.report,
              "autoresponder: Failed to write temporary file with response mail contents '" +
                  std::string(resp_uu_file_name) + "': Input/output error (5)\n");
}

TEST(ReplyFile, ThatCannotBeMadeIsReportedWithTheReasonWhenItIsWritten) {
    std::optional<ReplyFile> file;
    testing::internal::CaptureStderr();
    {
        const NoMoreDescriptors limit;
        file.emplace(Place::kTmp);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    bool written = false;
    const Failure failure =
        failure_of([&] { file->write(SizeLimit(1), [&](std::ostream&) { written = true; }); });
    EXPECT_FALSE(written);
    EXPECT_EQ(failure.error, EMFILE);
    EXPECT_EQ(failure.report, open_report("Too many open files (24)"));
}

TEST(ReplyFile, ThatCannotBeMadeRemovesNoOther) {
    std::optional<ReplyFile> file;
    {
        const NoMoreDescriptors limit;
        file.emplace(Place::kTmp);
    }
    const std::string other = resp_uu_file_name;
    std::ofstream(other) << "another one's";
    file.reset();
    EXPECT_TRUE(exists(other));
    unlink(other.c_str());
}

TEST(ReplyFile, ThatIsGoneCannotBeOpened) {
    const ReplyFile file(Place::kTmp);
    unlink(resp_uu_file_name);
    const Failure failure = failure_to_open(file);
    EXPECT_EQ(failure.error, ENOENT);
    EXPECT_EQ(failure.report, open_report("No such file or directory (2)"));
}

TEST(ReplyFile, ALinkInItsPlaceIsNotFollowed) {
    const ReplyFile file(Place::kTmp);
    unlink(resp_uu_file_name);
    std::filesystem::create_symlink("/dev/null", resp_uu_file_name);
    const Failure failure = failure_to_open(file);
    EXPECT_EQ(failure.error, ELOOP);
    EXPECT_EQ(failure.report, open_report("Too many levels of symbolic links (40)"));
}

TEST(ReplyFileInMemory, LeavesTheNameOfTheRunsFileAlone) {
    const std::string name = resp_uu_file_name;
    const ReplyFile file(Place::kMemory);
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "the reply\n"; });
    EXPECT_EQ(resp_uu_file_name, name);
    EXPECT_FALSE(exists(name));
}

TEST(ReplyFileInMemory, RemovesNoFile) {
    const ReplyFile in_tmp(Place::kTmp);
    { const ReplyFile file(Place::kMemory); }
    EXPECT_TRUE(exists(resp_uu_file_name));
}

TEST(ReplyFileInMemory, IsReadFromItsStartAsOftenAsItIsOpened) {
    const ReplyFile file(Place::kMemory);
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "a long first text\n"; });
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "the reply\n"; });
    EXPECT_EQ(read_all(file.open()), "the reply\n");
    EXPECT_EQ(read_all(file.open()), "the reply\n");
}

TEST(ReplyFileInMemory, IsNotInherited) {
    const ReplyFile file(Place::kMemory);
    EXPECT_EQ(fcntl(file.open().get(), F_GETFD), FD_CLOEXEC);
}

TEST(ReplyFileInMemory, ThatCannotBeMadeIsReportedWithTheReasonWhenItIsWritten) {
    std::optional<ReplyFile> file;
    {
        const NoMoreDescriptors limit;
        file.emplace(Place::kMemory);
    }
    const Failure failure =
        failure_of([&] { file->write(SizeLimit::none(), [](std::ostream&) {}); });
    EXPECT_EQ(failure.error, EMFILE);
    EXPECT_EQ(failure.report, open_report("Too many open files (24)"));
}

}  // namespace
