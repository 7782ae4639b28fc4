#include "support/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::NoMoreDescriptors;
using tolva::Descriptor;
using tolva::make_pipe;
using tolva::Pipe;

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

int open_null() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(Descriptor, ClosesWhatItOwns) {
    const int raw = open_null();
    {
        const Descriptor fd(raw);
        EXPECT_TRUE(fd);
        EXPECT_EQ(fd.get(), raw);
        EXPECT_TRUE(is_open(raw));
    }
    EXPECT_FALSE(is_open(raw));
}

TEST(Descriptor, NegativeValueIsNone) {
    EXPECT_FALSE(Descriptor());
    EXPECT_FALSE(Descriptor(-1));
}

TEST(Descriptor, MovingHandsOver) {
    Descriptor first(open_null());
    const int raw = first.get();
    Descriptor second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(second.get(), raw);

    Descriptor third(open_null());
    const int replaced = third.get();
    third = std::move(second);
    EXPECT_EQ(third.get(), raw);
    EXPECT_FALSE(is_open(replaced));
}

TEST(Descriptor, ReleasedDescriptorStaysOpen) {
    Descriptor fd(open_null());
    const int raw = fd.release();
    EXPECT_FALSE(fd);
    EXPECT_TRUE(is_open(raw));
    close(raw);
}

TEST(Descriptor, ClosingKeepsErrno) {
    Descriptor fd(open_null());
    close(fd.get());
    errno = ENOENT;
    fd.close();
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fd);
}

TEST(MakePipe, ReturnsBothEndsOfAPipeThatNoProgramInherits) {
    const std::optional<Pipe> pipe = make_pipe();
    ASSERT_TRUE(pipe);
    EXPECT_EQ(fcntl(pipe->read_end.get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(pipe->write_end.get(), F_GETFD), FD_CLOEXEC);
    ASSERT_EQ(write(pipe->write_end.get(), "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(pipe->read_end.get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST(MakePipe, LeavesTheNumbersOfTheStandardStreamsAlone) {
    // Either end would get the number of the last one closed.
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0, 1, 2}, {0}, {1}, {2}, {1, 2}}) {
        const ChildRun run = run_in_child([&closed] {
            for (const int fd : closed) {
                close(fd);
            }
            const std::optional<Pipe> pipe = make_pipe();
            for (const Descriptor* end : {&pipe.value().read_end, &pipe.value().write_end}) {
                note("above:", end->get() > 2, "flags:", fcntl(end->get(), F_GETFD));
            }
            for (const int fd : closed) {
                note(fd, is_open(fd) ? "open" : "closed");
            }
        });
        const std::string apart = "above: true flags: " + std::to_string(FD_CLOEXEC) + "\n";
        std::string expected = apart + apart;
        for (const int fd : closed) {
            expected += std::to_string(fd) + " closed\n";
        }
        EXPECT_EQ(run.noted, expected);
    }
}

TEST(MakePipe, ReturnsNothingWithoutDescriptors) {
    const NoMoreDescriptors limit;
    EXPECT_FALSE(make_pipe());
    EXPECT_EQ(errno, EMFILE);
}

// Descriptors may be had for the pipe but not for moving its ends.
TEST(MakePipe, ReturnsNothingWhereAnEndCannotBeMoved) {
    const ChildRun run = run_in_child([] {
        close(0);
        close(1);
        std::string result;
        {
            const NoMoreDescriptors limit;
            result = make_pipe() ? "a pipe" : testing_support::error_name();
        }
        note(result, "open:", is_open(0), is_open(1));
    });
    EXPECT_EQ(run.noted, "EINVAL open: false false\n");
}

}  // namespace
