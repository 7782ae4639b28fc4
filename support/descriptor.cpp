#include "support/descriptor.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tolva {

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

}  // namespace tolva
