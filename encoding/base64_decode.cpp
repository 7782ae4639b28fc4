// SPDX-License-Identifier: Apache-2.0

#include "encoding/base64_decode.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "encoding/base64_decode_internal.h"
#include "encoding/complaints.h"

namespace tolva {

namespace {

constexpr unsigned kNoSymbol = 64;

unsigned symbol_value(char symbol) {
    if (symbol >= 'A' && symbol <= 'Z') {
        return static_cast<unsigned>(symbol - 'A');
    }
    if (symbol >= 'a' && symbol <= 'z') {
        return static_cast<unsigned>(symbol - 'a') + 26;
    }
    if (symbol >= '0' && symbol <= '9') {
        return static_cast<unsigned>(symbol - '0') + 52;
    }
    if (symbol == '+') {
        return 62;
    }
    return symbol == '/' ? 63 : kNoSymbol;
}

unsigned take(std::string_view text, std::size_t& pos, Complaints& complaints) {
    while (pos < text.size() && text[pos] != '=') {
        const char symbol = text[pos++];
        const unsigned value = symbol_value(symbol);
        if (value != kNoSymbol) {
            return value;
        }
        if (symbol != ' ' && symbol != '\t' && symbol != '\n' && symbol != '\r') {
            complaints.add("Bad base64 symbol: ", std::string(1, symbol));
        }
    }
    return 0;
}

}  // namespace

unsigned base64Take(const std::string& text, std::size_t* pos) {
    Complaints complaints;
    return take(text, *pos, complaints);
}

std::string base64_decode(const std::string& text) {
    Complaints complaints;
    return base64_decode(text, complaints);
}

std::string base64_decode(std::string_view text, Complaints& complaints) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::size_t pos = 0;
    for (;;) {
        const std::size_t start = pos;
        const unsigned a = take(text, pos, complaints);
        const unsigned b = take(text, pos, complaints);
        const unsigned c = take(text, pos, complaints);
        const unsigned d = take(text, pos, complaints);
        const std::size_t consumed = pos - start;
        if (consumed == 0) {
            return bytes;
        }
        bytes += static_cast<char>(a << 2 | b >> 4);
        if (consumed >= 3) {
            bytes += static_cast<char>(b << 4 | c >> 2);
        }
        if (consumed >= 4) {
            bytes += static_cast<char>(c << 6 | d);
        }
    }
}

}  // namespace tolva
