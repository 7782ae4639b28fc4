// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace testing_support {

/// A pipe that belongs to one test.
class TestPipe {
  public:
    TestPipe() { EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0); }
    ~TestPipe() {
        close_read_end();
        close_write_end();
    }
    TestPipe(const TestPipe&) = delete;
    TestPipe& operator=(const TestPipe&) = delete;

    int read_end() const { return ends_[0]; }
    int write_end() const { return ends_[1]; }

    /// Hands the end over to the caller.
    int release_read_end() { return std::exchange(ends_[0], -1); }
    int release_write_end() { return std::exchange(ends_[1], -1); }

    void close_read_end() { close_end(ends_[0]); }
    void close_write_end() { close_end(ends_[1]); }

    /// What has been written, once no child holds the pipe.
    std::string text() {
        close_write_end();
        std::string text;
        std::array<char, 4096> piece{};
        ssize_t count = 0;
        while ((count = read(ends_[0], piece.data(), piece.size())) > 0) {
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

  private:
    static void close_end(int& end) {
        if (end != -1) {
            close(std::exchange(end, -1));
        }
    }

    std::array<int, 2> ends_{};
};

}  // namespace testing_support
