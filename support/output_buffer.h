// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>

#include "support/c_pointer.h"

namespace tolva {

/// Text that is read from a descriptor: any bytes, followed by a NUL.
class OutputBuffer {
  public:
    enum class Outcome { kEnded, kPending, kNoMemory, kFailed };

    OutputBuffer() = default;
    /// Continues a text: takes over a block of `capacity` bytes from malloc(3) of which the first
    /// `length` are used, or null.
    OutputBuffer(char* text, std::size_t length, std::size_t capacity);

    /// Makes room for more text and the NUL; false with errno ENOMEM.
    [[nodiscard]] bool reserve();

    /// Reads until end of file (kEnded) or until a non-blocking descriptor has nothing more for now
    /// (kPending). kNoMemory and kFailed set errno. What was read so far is kept.
    [[nodiscard]] Outcome read_from(int descriptor);

    /// Reads to the end of file and keeps nothing.
    static void drain(int descriptor);

    /// Never null.
    [[nodiscard]] const char* text() const { return text_ != nullptr ? text_.get() : ""; }
    [[nodiscard]] std::size_t length() const { return length_; }
    [[nodiscard]] std::size_t capacity() const { return capacity_; }

    /// Hands the text over, to be freed with free(3); null if nothing was ever reserved.
    [[nodiscard]] char* release() { return text_.release(); }

  private:
    CPointer<char> text_;
    std::size_t length_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace tolva
