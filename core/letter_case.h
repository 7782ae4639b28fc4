#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Letter case of ASCII: names of header fields, keywords and addresses compare without it. Other
/// bytes are what they are, whatever the locale.

constexpr char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equals_ignoring_case(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, to_lower, to_lower);
}

inline std::string lowered(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), to_lower);
    return lower;
}
