// SPDX-License-Identifier: Apache-2.0

#include "encoding/base64.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

constexpr char base64tab[65] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// clang-format off
const unsigned char base64idx[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,  62, 255, 255, 255,  63,
     52,  53,  54,  55,  56,  57,  58,  59,  60,  61, 255, 255, 255, 255, 255, 255,
    255,   0,   1,   2,   3,   4,   5,   6,   7,   8,   9,  10,  11,  12,  13,  14,
     15,  16,  17,  18,  19,  20,  21,  22,  23,  24,  25, 255, 255, 255, 255, 255,
    255,  26,  27,  28,  29,  30,  31,  32,  33,  34,  35,  36,  37,  38,  39,  40,
     41,  42,  43,  44,  45,  46,  47,  48,  49,  50,  51, 255, 255, 255, 255, 255,
};
// clang-format on

namespace {

constexpr std::size_t kCharactersPerGroup = 4;
constexpr std::size_t kBytesPerGroup = 3;

// The two characters for every twelve bits: six bits at a time take half as long again.
using Symbols = std::array<char, 2>;

constexpr std::array<Symbols, 4096> make_symbols() {
    std::array<Symbols, 4096> symbols{};
    for (std::size_t bits = 0; bits < symbols.size(); ++bits) {
        symbols[bits] = {base64tab[bits >> 6], base64tab[bits & 0x3F]};
    }
    return symbols;
}

constexpr std::array<Symbols, 4096> kSymbols = make_symbols();

// Reads the whole group before writing: they may overlap.
inline void encode_group(const unsigned char* input, char* output) {
    const unsigned first = input[0];
    const unsigned second = input[1];
    const unsigned third = input[2];
    std::memcpy(output, kSymbols[first << 4 | second >> 4].data(), sizeof(Symbols));
    std::memcpy(output + 2, kSymbols[(second & 0xF) << 8 | third].data(), sizeof(Symbols));
}

std::uint32_t value(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < sizeof(base64idx) ? base64idx[code] : 255;
}

// The values of `count` characters, the first in the highest place. They are added, not or-ed: the
// 255 of a foreign character carries into its neighbour.
std::uint32_t gather(const char* characters, std::size_t count) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
        bits = (bits << 6) + value(characters[i]);
    }
    return bits;
}

std::size_t count_padding(const char* input, std::size_t length) {
    if (length >= 2 && input[length - 2] == '=') {
        return 2;
    }
    return length >= 1 && input[length - 1] == '=' ? 1 : 0;
}

}  // namespace

std::size_t base64Encode(const unsigned char* input, std::size_t length, char* output) {
    const std::size_t groups = length / kBytesPerGroup;
    const std::size_t rest = length % kBytesPerGroup;
    std::size_t written = groups * kCharactersPerGroup;

    // From the end backwards: no group is overwritten before it is read when output is input.
    if (rest != 0) {
        const unsigned char* in = input + groups * kBytesPerGroup;
        const unsigned char last[kBytesPerGroup] = {in[0], rest == 2 ? in[1] : std::uint8_t{0}, 0};
        char* out = output + written;
        encode_group(last, out);
        std::fill(out + rest + 1, out + kCharactersPerGroup, '=');
        written += kCharactersPerGroup;
    }
    for (std::size_t group = groups; group-- > 0;) {
        encode_group(input + group * kBytesPerGroup, output + group * kCharactersPerGroup);
    }
    output[written] = '\0';
    return written;
}

std::size_t base64ArrayDecode(const char* input, std::size_t length, unsigned char* output) {
    std::size_t groups = length / kCharactersPerGroup;
    if (groups == 0) {
        return 0;
    }
    const std::size_t padding = count_padding(input, length);
    if (padding != 0) {
        --groups;
    }

    unsigned char* out = output;
    const char* in = input;
    for (; groups > 0; --groups, in += kCharactersPerGroup) {
        const std::uint32_t bits = gather(in, kCharactersPerGroup);
        *out++ = static_cast<unsigned char>(bits >> 16);
        *out++ = static_cast<unsigned char>(bits >> 8);
        *out++ = static_cast<unsigned char>(bits);
    }
    if (padding != 0) {
        std::uint32_t bits = gather(in, kCharactersPerGroup - padding) << (6 * padding);
        *out++ = static_cast<unsigned char>(bits >> 16);
        if (padding == 1) {
            *out++ = static_cast<unsigned char>(bits >> 8);
        }
    }
    return static_cast<std::size_t>(out - output);
}

std::size_t base64Decode(const char* input, unsigned char* output) {
    return base64ArrayDecode(input, std::strlen(input), output);
}
