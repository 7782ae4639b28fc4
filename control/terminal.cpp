#include "control/terminal.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

bool shows_colours() {
    const char* term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr && term != nullptr &&
           std::strcmp(term, "dumb") != 0;
}

const char* code_of(Colour colour) {
    switch (colour) {
        case Colour::kGood:
            return "32";
        case Colour::kBad:
            return "31";
        case Colour::kUnsure:
            return "33";
        case Colour::kStrong:
        case Colour::kNone:
            break;
    }
    return "1";
}

// How many bytes the UTF-8 character at the start of `text` has; 0 if it is none (RFC 3629), or one
// of the control characters of ISO 8859.
std::size_t character_length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = byte(0) < 0x80   ? 1
                               : byte(0) < 0xC2 ? 0
                               : byte(0) < 0xE0 ? 2
                               : byte(0) < 0xF0 ? 3
                               : byte(0) < 0xF5 ? 4
                                                : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    const bool c1_control = length == 2 && byte(0) == 0xC2 && byte(1) < 0xA0;
    const bool overlong =
        (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool out_of_range =
        (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
    return c1_control || overlong || out_of_range ? 0 : length;
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
    return std::string("\x1b[").append(code_of(colour)).append("m").append(text).append("\x1b[m");
}

std::string printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = character_length(text);
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
