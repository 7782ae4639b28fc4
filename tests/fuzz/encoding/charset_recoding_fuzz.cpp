// SPDX-License-Identifier: Apache-2.0

// Charset recoding. The first byte of the input selects a charset, or says that its name follows,
// up to the first line feed; the rest is the text.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "encoding/iconv_recode.h"
#include "tests/fuzz/encoding/properties.h"
#include "tests/fuzz/require.h"

namespace {

// Charsets whose conversion from UTF-8 and back restores every character.
constexpr std::array kReversible = {
    "UTF-8",        "US-ASCII",    "ISO-8859-1", "ISO-8859-2", "ISO-8859-5",   "ISO-8859-7",
    "ISO-8859-9",   "ISO-8859-15", "KOI8-R",     "KOI8-U",     "WINDOWS-1250", "WINDOWS-1251",
    "WINDOWS-1252", "CP866",       "MACINTOSH",  "UTF-16LE",   "UTF-16BE",     "UTF-32LE",
    "GB18030",      "GBK",         "BIG5"};

// Charsets with states, escape sequences, composed characters, unaligned units, or characters that
// take two of Unicode.
constexpr std::array kOthers = {"ISO-2022-JP",
                                "ISO-2022-JP-2",
                                "ISO-2022-JP-3",
                                "ISO-2022-KR",
                                "ISO-2022-CN",
                                "ISO-2022-CN-EXT",
                                "UTF-7",
                                "UTF-16",
                                "UTF-32",
                                "UCS-2",
                                "UCS-4",
                                "WCHAR_T",
                                "HZ-GB-2312",
                                "BIG5-HKSCS",
                                "TSCII",
                                "EUC-JISX0213",
                                "SHIFT_JISX0213",
                                "TCVN5712-1",
                                "CP1255",
                                "CP1258",
                                "IBM1364",
                                "IBM930",
                                "IBM933",
                                "ANSI_X3.110",
                                "ISO_6937",
                                "T.61",
                                "EUC-TW",
                                "JOHAB",
                                "UHC",
                                "IBM1390",
                                "ARMSCII-8",
                                "EUC-KR",
                                "EUC-JP",
                                "SHIFT_JIS"};

std::optional<std::string> recode(const std::string& text, const std::string& from,
                                  const std::string& to, bool skip_invalid) {
    try {
        return tolva::iconvRecode(text, from, to, skip_invalid);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

// The same result, put together from its pieces.
std::optional<std::string> recode_in_pieces(const std::string& text, const std::string& from,
                                            const std::string& to, bool skip_invalid) {
    std::string result;
    try {
        tolva::iconvRecode(text, from, to, skip_invalid, [&result](std::string_view piece) {
            require(!piece.empty() && piece.size() <= 4096, "a piece has 1 to 4096 bytes");
            result += piece;
        });
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
    return result;
}

// A tag character (U+E0000 to U+E007F): the C library leaves it out where a charset lacks it.
bool has_tag_character(const std::string& text) {
    return text.find("\xF3\xA0\x80") != std::string::npos ||
           text.find("\xF3\xA0\x81") != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::string charset;
    bool reversible = false;
    if (data[0] < kReversible.size()) {
        charset = kReversible[data[0]];
        reversible = true;
    } else if (data[0] < 128) {
        charset = kOthers[data[0] % kOthers.size()];
    } else {
        const std::size_t line_end = text.find('\n');
        charset = text.substr(0, line_end);
        text.erase(0, line_end == std::string::npos ? line_end : line_end + 1);
    }

    const auto strict = recode(text, charset, "UTF-8", false);
    const auto lenient = recode(text, charset, "UTF-8", true);
    require(!strict || strict == lenient, "what converts strictly converts leniently to the same");
    require(recode_in_pieces(text, charset, "UTF-8", true) == lenient, "the pieces are the whole");
    require(!lenient || is_wide_utf8(*lenient), "what is converted to UTF-8 is UTF-8");
    require(!lenient || lenient->size() <= 16 * text.size(), "the result is not out of proportion");

    if (is_utf8(text)) {
        const auto there = recode(text, "UTF-8", charset, false);
        if (reversible && there && !has_tag_character(text)) {
            require(recode(*there, charset, "UTF-8", false) == text, "there and back again");
        }
        const auto replaced = recode(text, "UTF-8", charset, true);
        require(!there || there == replaced, "nothing is replaced needlessly");
    }
    return 0;
}
