// SPDX-License-Identifier: Apache-2.0

#include <cstddef>
#include <string_view>

#include <mimelib/codec.h>
#include <mimelib/string.h>

#include "mimelib/src/decoded_text.h"
#include "mimelib/src/view.h"

namespace {

// Every byte is read without its highest bit, except in the search for line feeds.
char seven_bits(char c) {
    return static_cast<char>(c & 0x7F);
}

// Whether `c` is dropped at the end of a line. Form feeds and vertical tabs are not.
bool is_line_padding(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool is_hex_digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// The value of a hex digit. Any other character counts as its own code.
unsigned hex_value(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = mimelib::to_lower(c);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<unsigned>(lower - 'a') + 10;
    }
    return static_cast<unsigned char>(c);
}

class Decoder {
  public:
    // `line` has no line end.
    void add_line(std::string_view line, bool ended) {
        while (!line.empty() && is_line_padding(seven_bits(line.back()))) {
            line.remove_suffix(1);
        }
        const bool joined = add_characters(line);
        if (ended && !joined) {
            decoded_.add('\n');
        }
    }

    DwString take() { return decoded_.take(); }
    bool malformed() const { return malformed_; }

  private:
    // Returns whether the line is joined with the next.
    bool add_characters(std::string_view line) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            const char c = seven_bits(line[i]);
            const std::size_t left = line.size() - i - 1;
            if (c != '=') {
                decoded_.add(c);
            } else if (left == 0) {
                return true;
            } else if (left == 1) {
                malformed_ = true;
            } else {
                add_code(seven_bits(line[i + 1]), seven_bits(line[i + 2]));
                i += 2;
            }
        }
        return false;
    }

    void add_code(char high, char low) {
        malformed_ = malformed_ || !is_hex_digit(high) || !is_hex_digit(low);
        decoded_.add(static_cast<char>(hex_value(high) * 16 + hex_value(low)));
    }

    mimelib::DecodedText decoded_;
    bool malformed_ = false;
};

}  // namespace

int DwDecodeQuotedPrintable(const DwString& in, DwString& out) {
    std::string_view text = mimelib::view(in);
    text = text.substr(0, text.find('\0'));
    Decoder decoder;
    while (!text.empty()) {
        const std::size_t line_feed = text.find('\n');
        const bool ended = line_feed != std::string_view::npos;
        decoder.add_line(text.substr(0, line_feed), ended);
        text.remove_prefix(ended ? line_feed + 1 : text.size());
    }
    out = decoder.take();
    return decoder.malformed() ? -1 : 0;
}
