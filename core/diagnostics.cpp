#include "core/diagnostics.h"

#include <algorithm>
#include <cctype>
#include <cstring>

std::string error_text(int error) {
    return std::string(std::strerror(error)) + " (" + std::to_string(error) + ")";
}

std::string on_one_line(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(
        line, [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return line;
}
