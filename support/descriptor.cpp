// SPDX-License-Identifier: Apache-2.0

#include "support/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace tolva {

namespace {

// Leaves what follows the first `written` bytes of the pieces. Returns whether anything is left.
bool skip_written(std::span<iovec>& pieces, std::size_t written) {
    while (!pieces.empty() && written >= pieces.front().iov_len) {
        written -= pieces.front().iov_len;
        pieces = pieces.subspan(1);
    }
    if (pieces.empty()) {
        return false;
    }
    pieces.front().iov_base = static_cast<char*>(pieces.front().iov_base) + written;
    pieces.front().iov_len -= written;
    return true;
}

}  // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = other.release();
    }
    return *this;
}

int Descriptor::release() {
    return std::exchange(fd_, -1);
}

void Descriptor::close() noexcept {
    if (fd_ < 0) {
        return;
    }
    const int saved_errno = errno;
    ::close(std::exchange(fd_, -1));
    errno = saved_errno;
}

Result<Descriptor> opened(int fd) {
    if (fd < 0) {
        return Errno{errno};
    }
    return Descriptor(fd);
}

bool move_above_standard_streams(Descriptor& descriptor) {
    if (descriptor.get() <= STDERR_FILENO) {
        descriptor = Descriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return static_cast<bool>(descriptor);
}

Result<Pipe> make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == -1) {
        return Errno{errno};
    }
    Pipe pipe{Descriptor(ends[0]), Descriptor(ends[1])};
    if (!move_above_standard_streams(pipe.read_end) ||
        !move_above_standard_streams(pipe.write_end)) {
        return Errno{errno};
    }
    return pipe;
}

Result<std::size_t> read_some(int fd, std::span<char> block) {
    const ssize_t count = TEMP_FAILURE_RETRY(read(fd, block.data(), block.size()));
    if (count < 0) {
        return Errno{errno};
    }
    return static_cast<std::size_t>(count);
}

Result<void> read_block(int fd, std::span<char> block, std::size_t& length) {
    for (length = 0; length < block.size();) {
        const Result<std::size_t> count = read_some(fd, block.subspan(length));
        if (!count) {
            return Errno{count.error()};
        }
        if (*count == 0) {
            break;
        }
        length += *count;
    }
    return {};
}

Result<void> write_whole(int fd, std::string_view bytes) {
    // writev(2) does not write where its pieces point.
    iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
    return write_whole(fd, std::span(&piece, 1));
}

Result<void> write_whole(int fd, std::span<iovec> pieces) {
    ssize_t written = 0;
    while (skip_written(pieces, static_cast<std::size_t>(written))) {
        const iovec& first = pieces.front();
        written = TEMP_FAILURE_RETRY(
            pieces.size() == 1 ? write(fd, first.iov_base, first.iov_len)
                               : writev(fd, pieces.data(), static_cast<int>(pieces.size())));
        if (written <= 0) {
            return Errno{written < 0 ? errno : EIO};
        }
    }
    return {};
}

}  // namespace tolva
