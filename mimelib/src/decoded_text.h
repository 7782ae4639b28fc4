// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include <mimelib/string.h>

namespace mimelib {

// Gathers what a decoder makes of a text, a few bytes at a time, in a DwString that grows by
// blocks, so that the result is in memory only once.
class DecodedText {
  public:
    void add(char byte) {
        if (used_ == block_.size()) {
            flush();
        }
        block_[used_++] = byte;
    }

    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            add(byte);
        }
    }

    // All of it. To be called once.
    DwString take() {
        flush();
        return std::move(text_);
    }

  private:
    void flush() {
        text_ += DwString(block_.data(), used_);
        used_ = 0;
    }

    std::array<char, 4096> block_;
    std::size_t used_ = 0;
    DwString text_;
};

}  // namespace mimelib
