// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The length of the sequence that the lead byte announces in the UTF-8 of RFC 2279, of up to six
/// bytes; 0 for a byte that leads none.
inline std::size_t sequence_length(unsigned char lead) {
    constexpr unsigned char kAbove[] = {0x80, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};
    for (std::size_t length = 1; length <= 6; ++length) {
        if (lead < kAbove[length - 1]) {
            return length == 2 && lead < 0xC2 ? 0 : length;
        }
    }
    return 0;
}

/// Whether `text` is made of whole sequences of RFC 2279. That is what the C library calls UTF-8:
/// it reads and writes code points above U+10FFFF too.
inline bool is_wide_utf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequence_length(static_cast<unsigned char>(text[i]));
        if (length == 0 || text.size() - i < length) {
            return false;
        }
        for (std::size_t k = 1; k < length; ++k) {
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) {
                return false;
            }
        }
        i += length;
    }
    return true;
}

/// Whether `text` is UTF-8 as defined by RFC 3629: shortest forms, no surrogates, nothing above
/// U+10FFFF.
inline bool is_utf8(std::string_view text) {
    if (!is_wide_utf8(text)) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (lead > 0xF4 || (lead == 0xE0 && next < 0xA0) || (lead == 0xED && next >= 0xA0) ||
            (lead == 0xF0 && next < 0x90) || (lead == 0xF4 && next >= 0x90)) {
            return false;
        }
    }
    return true;
}
