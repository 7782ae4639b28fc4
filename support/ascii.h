// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <string_view>

/// Bytes as ASCII characters. Other bytes belong to no class and have no letter case, whatever the
/// locale.
namespace tolva {

/// Whether `key` occurs in `text`, byte for byte, in linear time: the text may come from strangers.
inline bool contains(std::string_view text, std::string_view key) {
    return memmem(text.data(), text.size(), key.data(), key.size()) != nullptr;
}

/// isspace(3) of any char.
inline bool is_space(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

inline bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Control characters can end a line, a header field or a record of a log.
inline bool is_control_character(char c) {
    return std::iscntrl(static_cast<unsigned char>(c)) != 0;
}

inline bool has_control_character(std::string_view text) {
    return std::ranges::any_of(text, is_control_character);
}

/// `text` with "?" in place of each control character, as a line of a log may contain it.
inline std::string without_control_characters(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(line, is_control_character, '?');
    return line;
}

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

}  // namespace tolva
