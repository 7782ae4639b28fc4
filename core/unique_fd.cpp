#include "core/unique_fd.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

Unique_fd& Unique_fd::operator=(Unique_fd&& other) noexcept {
    if (this != &other) {
        close();
        fd_ = other.release();
    }
    return *this;
}

int Unique_fd::release() {
    return std::exchange(fd_, -1);
}

void Unique_fd::close() noexcept {
    if (fd_ < 0) {
        return;
    }
    const int saved_errno = errno;
    ::close(std::exchange(fd_, -1));
    errno = saved_errno;
}
