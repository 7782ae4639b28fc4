// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <span>
#include <string_view>

#include "support/result.h"

namespace tolva {

/// Owner of a file descriptor, which it closes.
class Descriptor {
  public:
    Descriptor() = default;
    /// Takes over `fd`; a negative value means none, so the result of open(2) can be passed on.
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }

    /// Hands the descriptor over to the caller.
    [[nodiscard]] int release();

    /// Closes it now; keeps errno.
    void close() noexcept;

  private:
    int fd_ = -1;
};

/// Owns what a system call such as open(2) has returned: a descriptor, or a negative value with the
/// reason in errno.
Result<Descriptor> opened(int fd);

struct Pipe {
    Descriptor read_end;
    Descriptor write_end;
};

/// Makes a pipe whose ends are closed on execv(2). The ends have numbers above 2 even if a standard
/// stream is closed: a child that is given one of them must not take it for a stream to inherit.
Result<Pipe> make_pipe();

/// Gives the descriptor a number above 2 if it has that of a standard stream. False, with errno, if
/// there is none to be had; then it is closed.
[[nodiscard]] bool move_above_standard_streams(Descriptor& descriptor);

/// Reads once (read(2)), whatever signals arrive. Yields the number of bytes, 0 at the end.
Result<std::size_t> read_some(int fd, std::span<char> block);

/// Reads until the block is full or the end is reached. `length` becomes the number of bytes that
/// the block then contains, also if reading fails.
Result<void> read_block(int fd, std::span<char> block, std::size_t& length);

/// Writes all of the bytes (write(2)).
Result<void> write_whole(int fd, std::string_view bytes);

/// Writes all of the pieces, at most IOV_MAX of them, with one writev(2) unless it is interrupted.
/// Changes `pieces`, and allocates nothing.
Result<void> write_whole(int fd, std::span<iovec> pieces);

}  // namespace tolva
