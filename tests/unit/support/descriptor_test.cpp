#include "support/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tolva::Descriptor;

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

}  // namespace
