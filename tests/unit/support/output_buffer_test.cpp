// SPDX-License-Identifier: Apache-2.0

#include "support/output_buffer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/process_state.h"

namespace {

using tolva::OutputBuffer;
using Outcome = tolva::OutputBuffer::Outcome;

// A file with that content, read from its start.
int file_with(std::string_view content) {
    const int file = memfd_create("content", MFD_CLOEXEC);
    EXPECT_EQ(write(file, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    lseek(file, 0, SEEK_SET);
    return file;
}

std::string_view view(const OutputBuffer& buffer) {
    return {buffer.text(), buffer.length()};
}

TEST(OutputBuffer, IsEmptyAtFirst) {
    OutputBuffer buffer;
    EXPECT_STREQ(buffer.text(), "");
    EXPECT_EQ(buffer.release(), nullptr);
}

TEST(OutputBuffer, ReadsToTheEndWhateverTheSize) {
    for (const std::size_t size : {0U, 1U, 4094U, 4095U, 4096U, 8191U, 8192U, 100000U}) {
        const std::string content(size, 'x');
        const int file = file_with(content);
        OutputBuffer buffer;
        EXPECT_EQ(buffer.read_from(file), Outcome::kEnded);
        EXPECT_EQ(view(buffer), content);
        EXPECT_EQ(buffer.text()[size], '\0');
        close(file);
    }
}

TEST(OutputBuffer, KeepsZeroBytes) {
    const std::string content("a\0b\0", 4);
    const int file = file_with(content);
    OutputBuffer buffer;
    EXPECT_EQ(buffer.read_from(file), Outcome::kEnded);
    EXPECT_EQ(view(buffer), content);
    close(file);
}

TEST(OutputBuffer, GoesOnWithWhatItHandedOver) {
    for (const std::size_t size : {0U, 5U, 4095U, 4096U, 8191U}) {
        const std::string begin(size, 'a');
        const int first = file_with(begin);
        OutputBuffer buffer;
        EXPECT_EQ(buffer.read_from(first), Outcome::kEnded);
        close(first);

        const std::string end(5000, 'b');
        const int second = file_with(end);
        const std::size_t length = buffer.length();
        const std::size_t capacity = buffer.capacity();
        OutputBuffer further(buffer.release(), length, capacity);
        EXPECT_EQ(further.read_from(second), Outcome::kEnded);
        EXPECT_EQ(view(further), begin + end);
        close(second);
    }
}

TEST(OutputBuffer, ADescriptorWithoutMoreForNowIsPending) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    OutputBuffer buffer;
    EXPECT_EQ(buffer.read_from(ends[0]), Outcome::kPending);
    ASSERT_EQ(write(ends[1], "text", 4), 4);
    EXPECT_EQ(buffer.read_from(ends[0]), Outcome::kPending);
    EXPECT_EQ(view(buffer), "text");
    close(ends[1]);
    EXPECT_EQ(buffer.read_from(ends[0]), Outcome::kEnded);
    EXPECT_EQ(view(buffer), "text");
    close(ends[0]);
}

TEST(OutputBuffer, AFailedReadLeavesErrno) {
    OutputBuffer buffer;
    EXPECT_EQ(buffer.read_from(-1), Outcome::kFailed);
    EXPECT_EQ(errno, EBADF);
}

TEST(OutputBuffer, NoMemoryKeepsWhatWasRead) {
    const std::string content(10000, 'x');
    const int file = file_with(content);
    OutputBuffer buffer;
    {
        const FailingAllocation memory(2);
        EXPECT_EQ(buffer.read_from(file), Outcome::kNoMemory);
        EXPECT_EQ(errno, ENOMEM);
    }
    EXPECT_EQ(view(buffer), std::string(4095, 'x'));
    EXPECT_EQ(buffer.read_from(file), Outcome::kEnded);
    EXPECT_EQ(view(buffer), content);
    close(file);
}

TEST(OutputBuffer, NoMemoryLeavesTheTextTerminated) {
    const int file = file_with(std::string(10000, 'x'));
    auto* block = static_cast<char*>(std::malloc(4096));
    ASSERT_NE(block, nullptr);
    std::memset(block, 'y', 4096);
    OutputBuffer buffer(block, 0, 4096);
    {
        const FailingAllocation memory(1);
        EXPECT_EQ(buffer.read_from(file), Outcome::kNoMemory);
    }
    EXPECT_EQ(buffer.length(), 4095U);
    EXPECT_EQ(buffer.text()[4095], '\0');
    close(file);
}

TEST(OutputBuffer, WithoutATextThereIsNoCapacity) {
    OutputBuffer buffer(nullptr, 10, 20);
    EXPECT_EQ(buffer.length(), 0U);
    EXPECT_EQ(buffer.capacity(), 0U);
    EXPECT_TRUE(buffer.reserve());
    EXPECT_STREQ(buffer.text(), "");
}

TEST(OutputBuffer, NoMemoryAtAllIsReportedByReserve) {
    const FailingAllocation memory(1);
    OutputBuffer buffer;
    EXPECT_FALSE(buffer.reserve());
    EXPECT_TRUE(buffer.reserve());
    EXPECT_STREQ(buffer.text(), "");
}

TEST(OutputBuffer, DrainingReadsToTheEnd) {
    const int file = file_with(std::string(10000, 'x'));
    OutputBuffer::drain(file);
    EXPECT_EQ(lseek(file, 0, SEEK_CUR), 10000);
    close(file);
}

TEST(OutputBuffer, SignalsDoNotEndReading) {
    const ChildRun run = run_in_child([] {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            note("no pipe");
            return;
        }
        const pid_t writer = fork();
        if (writer == 0) {
            usleep(200000);
            _exit(write(ends[1], "late", 4) == 4 ? 0 : 1);
        }
        close(ends[1]);
        testing_support::interrupt_every_20_milliseconds();
        OutputBuffer buffer;
        const Outcome outcome = buffer.read_from(ends[0]);
        note(outcome == Outcome::kEnded ? "ended" : "not ended", view(buffer));
    });
    EXPECT_EQ(run.noted, "ended late\n");
}

}  // namespace
