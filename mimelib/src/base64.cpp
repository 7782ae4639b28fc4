// SPDX-License-Identifier: Apache-2.0

#include <array>
#include <cstddef>
#include <string_view>

#include <mimelib/codec.h>
#include <mimelib/string.h>

#include "mimelib/src/decoded_text.h"
#include "mimelib/src/view.h"

namespace {

constexpr unsigned char kPadding = 64;
constexpr unsigned char kOutside = 65;

constexpr std::array<unsigned char, 256> make_values() {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<unsigned char, 256> values{};
    values.fill(kOutside);
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<unsigned char>(i);
    }
    values['='] = kPadding;
    return values;
}

constexpr auto kValues = make_values();

// Four characters of the text as their values.
struct Group {
    std::array<unsigned char, 4> values;
    std::size_t length;

    // How many bytes the group stands for; 0 when it is malformed.
    std::size_t bytes() const {
        if (length < 4 || values[0] == kPadding || values[1] == kPadding) {
            return 0;
        }
        if (values[2] == kPadding) {
            return values[3] == kPadding ? 1 : 0;
        }
        return values[3] == kPadding ? 2 : 3;
    }
};

Group read_group(std::string_view text, std::size_t& position) {
    Group group{};
    while (group.length < 4 && position < text.size()) {
        const unsigned char value = kValues[static_cast<unsigned char>(text[position++])];
        if (value != kOutside) {
            group.values[group.length++] = value;
        }
    }
    return group;
}

void append_bytes(const Group& group, std::size_t count, mimelib::DecodedText& decoded) {
    const unsigned bits = (group.values[0] & 63U) << 18 | (group.values[1] & 63U) << 12 |
                          (group.values[2] & 63U) << 6 | (group.values[3] & 63U);
    const std::array<char, 3> bytes = {static_cast<char>(bits >> 16 & 0xFF),
                                       static_cast<char>(bits >> 8 & 0xFF),
                                       static_cast<char>(bits & 0xFF)};
    decoded.add({bytes.data(), count});
}

}  // namespace

int DwDecodeBase64(const DwString& in, DwString& out) {
    const std::string_view text = mimelib::view(in);
    if (text.size() == 1 || text.size() == 2 || text.size() == 5) {
        out = DwString();
        return -1;
    }
    mimelib::DecodedText decoded;
    std::size_t position = 0;
    std::size_t count = 3;
    Group group{};
    while (count == 3) {
        group = read_group(text, position);
        count = group.bytes();
        append_bytes(group, count, decoded);
    }
    out = decoded.take();
    return count == 0 && group.length != 0 ? -1 : 0;
}
