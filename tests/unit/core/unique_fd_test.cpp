#include "core/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include <gtest/gtest.h>

namespace {

bool is_open(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

int open_null() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(UniqueFd, ClosesWhatItOwns) {
    const int raw = open_null();
    {
        const Unique_fd fd(raw);
        EXPECT_TRUE(fd);
        EXPECT_EQ(fd.get(), raw);
        EXPECT_TRUE(is_open(raw));
    }
    EXPECT_FALSE(is_open(raw));
}

TEST(UniqueFd, NegativeValueIsNone) {
    EXPECT_FALSE(Unique_fd());
    EXPECT_FALSE(Unique_fd(-1));
}

TEST(UniqueFd, MovingHandsOver) {
    Unique_fd first(open_null());
    const int raw = first.get();
    Unique_fd second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(second.get(), raw);

    Unique_fd third(open_null());
    const int replaced = third.get();
    third = std::move(second);
    EXPECT_EQ(third.get(), raw);
    EXPECT_FALSE(is_open(replaced));
}

TEST(UniqueFd, ReleasedDescriptorStaysOpen) {
    Unique_fd fd(open_null());
    const int raw = fd.release();
    EXPECT_FALSE(fd);
    EXPECT_TRUE(is_open(raw));
    close(raw);
}

TEST(UniqueFd, ClosingKeepsErrno) {
    Unique_fd fd(open_null());
    close(fd.get());
    errno = ENOENT;
    fd.close();
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(fd);
}

}  // namespace
