// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string_view>

#include <mimelib/string.h>

namespace mimelib {

// A part of a text.
struct Slice {
    std::size_t begin = 0;
    std::size_t length = 0;
};

inline std::string_view view(const DwString& text) {
    return {text.data(), text.length()};
}

inline DwString slice_of(const DwString& text, Slice slice) {
    return text.substr(slice.begin, slice.length);
}

constexpr char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// Whether two texts differ at most in the case of ASCII letters.
constexpr bool equals_ignoring_case(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) {
        return false;
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (to_lower(left[i]) != to_lower(right[i])) {
            return false;
        }
    }
    return true;
}

// White space in the "C" locale.
constexpr bool is_white(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace mimelib
