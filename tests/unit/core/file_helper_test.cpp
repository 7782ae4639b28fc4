// SPDX-License-Identifier: Apache-2.0

#include "core/files/file_helper.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "core/files/common_look_up.h"
#include "core/files/file_service.h"
#include "core/files/shared_blocks.h"
#include "core/run/rights.h"
#include "support/result.h"
#include "tests/unit/core/temporary_directory.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"

namespace {

using namespace autoresponder;

std::string described(const FileAnswer& answer) {
    return std::string(answer.state == LookUp::State::kFound     ? "found"
                       : answer.state == LookUp::State::kMissing ? "missing"
                                                                 : "unreadable") +
           (answer.error != 0 ? std::string(" ") + strerrorname_np(answer.error) : "");
}

// The process id of the only child; 0 if there is none.
pid_t child() {
    pid_t id = 0;
    std::ifstream("/proc/self/task/" + std::to_string(getpid()) + "/children") >> id;
    return id;
}

class Helper : public testing::Test {
  protected:
    void SetUp() override { directory_.put("file", "text"); }

    std::string state_of(const std::string& path) {
        return described(helper_.look_up(path, Question::kIsThere));
    }

    std::string opened(const std::string& path) {
        return described(helper_.look_up(path, Question::kOpen));
    }

    // All that can be read of the opened file, in blocks of that size, and why there is no more.
    std::string read_opened(std::size_t block_size = 4096) {
        OpenedFile file(helper_);
        std::string text;
        for (;;) {
            std::string block(block_size, '\0');
            std::size_t length = 0;
            const tolva::Result<void> read = file.read_block(block, length);
            text += block.substr(0, length);
            if (!read) {
                return text + " " + strerrorname_np(read.error());
            }
            if (length < block_size) {
                return text;
            }
        }
    }

    TemporaryDirectory directory_;
    FileHelper helper_{directory_.path()};
};

TEST_F(Helper, TellsWhatIsThere) {
    EXPECT_EQ(state_of("file"), "found");
    EXPECT_EQ(state_of("."), "found");
    EXPECT_EQ(state_of("gone"), "missing ENOENT");
    EXPECT_EQ(state_of(std::string(5000, 'x')), "missing ENAMETOOLONG");
}

TEST_F(Helper, ReadsTheFileThatWasOpenedLast) {
    directory_.put("other", "other text");
    EXPECT_EQ(opened("other"), "found");
    EXPECT_EQ(opened("file"), "found");
    EXPECT_EQ(read_opened(), "text");
    EXPECT_EQ(opened("other"), "found");
    EXPECT_EQ(read_opened(), "other text");
}

TEST_F(Helper, ReadsAllOfAFileInWhateverBlocks) {
    std::string text;
    for (std::size_t i = 0; text.size() < 5 * SharedBlocks::kSize + 1; ++i) {
        text += std::to_string(i) + "\n";
    }
    directory_.put("large", text);
    for (const std::size_t block_size :
         {std::size_t{45} * 1024, std::size_t{7}, SharedBlocks::kSize, 2 * SharedBlocks::kSize}) {
        EXPECT_EQ(opened("large"), "found");
        EXPECT_TRUE(read_opened(block_size) == text) << block_size;
    }
}

TEST_F(Helper, ReadsNothingThatWasNotOpened) {
    EXPECT_EQ(read_opened(), " EIO");
    EXPECT_EQ(state_of("file"), "found");
    EXPECT_EQ(read_opened(), " EBADF");
    EXPECT_EQ(opened("gone"), "missing ENOENT");
    EXPECT_EQ(read_opened(), " EBADF");
}

TEST_F(Helper, GoesOnWithTheNextFileWhereOneIsNotReadToItsEnd) {
    directory_.put("large", std::string(1'000'000, 'x'));
    EXPECT_EQ(opened("large"), "found");
    OpenedFile file(helper_);
    std::string block(100, '\0');
    std::size_t length = 0;
    EXPECT_TRUE(file.read_block(block, length));
    EXPECT_EQ(opened("file"), "found");
    EXPECT_EQ(read_opened(), "text");
}

TEST_F(Helper, IsOneProcessThatEndsWithItsOwner) {
    const ChildRun run = run_in_child([&] {
        {
            FileHelper helper(directory_.path());
            note("before:", child() > 0);
            helper.look_up("file", Question::kIsThere);
            const pid_t first = child();
            helper.look_up("gone", Question::kOpen);
            note("the same:", first > 0 && child() == first);
        }
        note("after:", child() > 0);
    });
    EXPECT_EQ(run.noted, "before: false\nthe same: true\nafter: false\n");
}

TEST_F(Helper, ThatEndsMakesTheFileUnreadableAndIsStartedAgain) {
    const ChildRun run = run_in_child([&] {
        state_of("file");
        kill(child(), SIGKILL);
        note(state_of("file"));
        note(opened("file"));
        kill(child(), SIGKILL);
        note(read_opened());
        note(state_of("gone"));
    });
    EXPECT_EQ(run.noted, "unreadable EIO\nfound\n EIO\nmissing ENOENT\n");
}

TEST_F(Helper, ThatCannotBeStartedMakesTheFileUnreadable) {
    const ChildRun run = run_in_child([&] {
        testing_support::fail_fork(EAGAIN);
        note(state_of("file"));
        note(opened("gone"));
    });
    EXPECT_EQ(run.noted, "unreadable EAGAIN\nunreadable EAGAIN\n");
    const ChildRun without_descriptors = run_in_child([&] {
        const rlimit few{3, 3};
        setrlimit(RLIMIT_NOFILE, &few);
        note(state_of("file"));
    });
    EXPECT_EQ(without_descriptors.noted, "unreadable EMFILE\n");
}

TEST_F(Helper, IsWaitedForOnlySoLongInAll) {
    const ChildRun run = run_in_child([&] {
        state_of("file");
        kill(child(), SIGSTOP);
        const auto begin = std::chrono::steady_clock::now();
        note(state_of("file"));
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        note("in time:", taken.count() >= 4.9 && taken.count() < 60);
        note("killed:", child() <= 0);
        note(state_of("file"), opened("file"));
        const std::chrono::duration<double> in_all = std::chrono::steady_clock::now() - begin;
        note("at once:", in_all.count() < taken.count() + 4);
    });
    EXPECT_EQ(run.noted,
              "unreadable ETIMEDOUT\nin time: true\nkilled: true\n"
              "unreadable ETIMEDOUT unreadable ETIMEDOUT\nat once: true\n");
}

TEST_F(Helper, IsWaitedForOnlySoLongWhileItReads) {
    const ChildRun run = run_in_child([&] {
        opened("file");
        kill(child(), SIGSTOP);
        const auto begin = std::chrono::steady_clock::now();
        note(read_opened());
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
        note("in time:", taken.count() >= 4.9 && taken.count() < 60);
        note(opened("file"));
    });
    EXPECT_EQ(run.noted, " ETIMEDOUT\nin time: true\nfound\n");
}

TEST_F(Helper, HoldsNoOutputOfItsOwner) {
    const ChildRun run = run_in_child([&] {
        state_of("file");
        for (const char* stream : {"1", "2"}) {
            std::string target(100, '\0');
            const std::string link = "/proc/" + std::to_string(child()) + "/fd/" + stream;
            const ssize_t length = readlink(link.c_str(), target.data(), target.size());
            note(target.substr(0, length > 0 ? 4 : 0));
        }
    });
    EXPECT_EQ(run.noted, "pipe\n/dev\n");
}

TEST_F(Helper, OfAPlainUserLooksFilesUpWithThatUsersRights) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "this takes root";
    }
    const ChildRun run = run_in_child([&] {
        ASSERT_EQ(chown(directory_.path().c_str(), 12345, 12345), 0);
        ASSERT_EQ(setresgid(12345, 12345, 12345), 0);
        ASSERT_EQ(setresuid(12345, 12345, 12345), 0);
        note(state_of("file"));
        note(opened("file"));
        note(read_opened());
        note(state_of("gone"));
        note(opened("."));
        ASSERT_EQ(chmod(directory_.path().c_str(), 0), 0);
        note(opened("file"));
    });
    EXPECT_EQ(run.noted,
              "found\nfound\ntext\nmissing ENOENT\nunreadable EISDIR\nunreadable EACCES\n");
}

}  // namespace
