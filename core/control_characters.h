#pragma once

#include <algorithm>
#include <cctype>
#include <string_view>

/// Control characters of ASCII: what could end a line, a header field or a record of a log.

inline bool is_control_character(char c) {
    return std::iscntrl(static_cast<unsigned char>(c)) != 0;
}

inline bool has_control_character(std::string_view text) {
    return std::ranges::any_of(text, is_control_character);
}
