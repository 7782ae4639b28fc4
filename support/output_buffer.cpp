// SPDX-License-Identifier: Apache-2.0

#include "support/output_buffer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "support/descriptor.h"

namespace tolva {

namespace {

constexpr std::size_t kSmallestCapacity = 4096;

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
        const Result<std::size_t> count = read_some(descriptor, {end, capacity_ - length_ - 1});
        if (!count) {
            errno = count.error();
            return errno == EAGAIN ? Outcome::kPending : Outcome::kFailed;
        }
        if (*count == 0) {
            return Outcome::kEnded;
        }
        end[*count] = '\0';
        length_ += *count;
    }
    return Outcome::kNoMemory;
}

void OutputBuffer::drain(int descriptor) {
    std::array<char, 4096> ignored{};
    Result<std::size_t> count = ignored.size();
    do {
        count = read_some(descriptor, ignored);
    } while (count && *count > 0);
}

}  // namespace tolva
