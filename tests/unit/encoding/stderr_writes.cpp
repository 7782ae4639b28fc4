// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/encoding/stderr_writes.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstddef>

#include <gtest/gtest.h>

StderrWrites::StderrWrites() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    std::array<int, 2> ends{};
    // Non-blocking: what does not fit is lost, and missed by the test, instead of blocking forever.
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()),
              0);
    EXPECT_EQ(dup2(ends[0], STDERR_FILENO), STDERR_FILENO);
    close(ends[0]);
    reading_end_ = ends[1];
}

StderrWrites::~StderrWrites() {
    EXPECT_EQ(dup2(saved_, STDERR_FILENO), STDERR_FILENO);
    close(saved_);
    close(reading_end_);
}

std::vector<std::string> StderrWrites::take() {
    std::vector<std::string> writes;
    std::string buffer(1048576, '\0');
    ssize_t count = 0;
    while ((count = recv(reading_end_, buffer.data(), buffer.size(), 0)) > 0) {
        writes.emplace_back(buffer, 0, static_cast<std::size_t>(count));
    }
    return writes;
}
