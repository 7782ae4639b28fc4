// SPDX-License-Identifier: Apache-2.0

#include "control/terminal.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "encoding/utf8.h"

namespace autoresponder::control {

namespace {

// In the order of the colours.
constexpr std::array kCodes = {"1", "32", "31", "33", "1"};

bool shows_colours() {
    const char* term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr && term != nullptr &&
           std::strcmp(term, "dumb") != 0;
}

std::string spelt_out(char c) {
    if (c == '\n') {
        return "\\n";
    }
    if (c == '\t') {
        return "\\t";
    }
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned char>(c));
    return text.data();
}

}  // namespace

std::string coloured(std::string_view text, Colour colour) {
    static const bool shown = shows_colours();
    if (!shown || colour == Colour::kNone) {
        return std::string(text);
    }
    return std::string("\x1b[")
        .append(kCodes.at(static_cast<std::size_t>(colour)))
        .append("m")
        .append(text)
        .append("\x1b[m");
}

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = tolva::utf8_character_length(text);
        const bool control = length == 1 && (text[0] < ' ' || text[0] == '\x7f');
        if (length == 0 || control) {
            shown += spelt_out(text[0]);
            text.remove_prefix(1);
        } else {
            shown += text.substr(0, length);
            text.remove_prefix(length);
        }
    }
    return shown;
}

}  // namespace autoresponder::control
