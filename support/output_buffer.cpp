#include "support/output_buffer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace tolva {

namespace {

constexpr std::size_t kSmallestCapacity = 4096;

ssize_t read_some(int descriptor, char* into, std::size_t size) {
    ssize_t count = 0;
    do {
        count = read(descriptor, into, size);
    } while (count == -1 && errno == EINTR);
    return count;
}

}  // namespace

OutputBuffer::OutputBuffer(char* text, std::size_t length, std::size_t capacity)
    : text_(text),
      length_(text != nullptr ? length : 0),
      capacity_(text != nullptr ? capacity : 0) {}

bool OutputBuffer::reserve() {
    if (length_ + 1 >= capacity_) {
        const std::size_t capacity = std::max(kSmallestCapacity, 2 * capacity_);
        if (!resize(text_, capacity)) {
            return false;
        }
        capacity_ = capacity;
    }
    text_.get()[length_] = '\0';
    return true;
}

OutputBuffer::Outcome OutputBuffer::read_from(int descriptor) {
    while (reserve()) {
        char* end = text_.get() + length_;
        const ssize_t count = read_some(descriptor, end, capacity_ - length_ - 1);
        if (count == 0) {
            return Outcome::ended;
        }
        if (count == -1) {
            return errno == EAGAIN ? Outcome::pending : Outcome::failed;
        }
        end[count] = '\0';
        length_ += static_cast<std::size_t>(count);
    }
    return Outcome::no_memory;
}

void OutputBuffer::drain(int descriptor) {
    std::array<char, 4096> ignored{};
    while (read_some(descriptor, ignored.data(), ignored.size()) > 0) {
    }
}

}  // namespace tolva
