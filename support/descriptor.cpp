#include "support/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace tolva {

namespace {

// Moves the descriptor if it has the number of a standard stream.
bool move_above_standard_streams(Descriptor& descriptor) {
    if (descriptor.get() <= STDERR_FILENO) {
        descriptor = Descriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return static_cast<bool>(descriptor);
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

std::optional<Pipe> make_pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == -1) {
        return std::nullopt;
    }
    Pipe pipe{Descriptor(ends[0]), Descriptor(ends[1])};
    if (!move_above_standard_streams(pipe.read_end) ||
        !move_above_standard_streams(pipe.write_end)) {
        return std::nullopt;
    }
    return pipe;
}

}  // namespace tolva
