#include "support/output_buffer.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace tolva {

namespace {

constexpr std::size_t kSmallestCapacity = 4096;

// The capacity that a buffer holding that much text has grown to by doubling.
std::size_t grown_capacity(std::size_t length) {
    std::size_t capacity = kSmallestCapacity;
    while (capacity <= length) {
        capacity *= 2;
    }
    return capacity;
}

ssize_t read_some(int descriptor, char* into, std::size_t size) {
    ssize_t count = 0;
    do {
        count = read(descriptor, into, size);
    } while (count == -1 && errno == EINTR);
    return count;
}

}  // namespace

OutputBuffer::OutputBuffer(char* text, std::size_t length)
    : text_(text), length_(length), capacity_(text != nullptr ? grown_capacity(length) : 0) {}

bool OutputBuffer::reserve() {
    if (length_ + 1 < capacity_) {
        return true;
    }
    const std::size_t capacity = capacity_ == 0 ? kSmallestCapacity : 2 * capacity_;
    auto* grown = static_cast<char*>(std::realloc(text_.get(), capacity));
    if (grown == nullptr) {
        return false;
    }
    static_cast<void>(text_.release());
    text_.reset(grown);
    text_.get()[length_] = '\0';
    capacity_ = capacity;
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
