// SPDX-License-Identifier: Apache-2.0

// Field bodies: whatever a stranger writes as a subject, and whatever is put into a reply's header.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "encoding/base64_decode.h"
#include "encoding/base64_decode_internal.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"
#include "encoding/rfc1522_internal.h"
#include "tests/fuzz/encoding/properties.h"
#include "tests/fuzz/require.h"

namespace {

bool ends_in_blank(const std::string& text) {
    return !text.empty() && (text.back() == ' ' || text.back() == '\t');
}

void decode_anything(const std::string& text) {
    try {
        const std::string decoded = tolva::rfc1522::decode(text);
        require(!ends_in_blank(text), "trailing blanks are out of range");
        require(text.find("=?") != std::string::npos || decoded == text,
                "text without encoded words is unchanged");
        require(!is_utf8(text) || is_wide_utf8(decoded), "what is decoded from UTF-8 is UTF-8");
    } catch (const std::out_of_range&) {
        require(ends_in_blank(text), "only trailing blanks are out of range");
    } catch (const std::runtime_error&) {
        require(text.find("=?") != std::string::npos, "only an encoded word fails to convert");
    }
}

// A word decodes to the same text wherever it stands, and however often.
void decode_repeated(const std::string& text) {
    std::string word = text.substr(0, text.find_first_of(" \t"));
    if (!word.starts_with("=?")) {
        word = "=?" + word;
    }
    if (!word.ends_with("?=")) {
        word += "?=";
    }
    std::string once;
    try {
        once = tolva::rfc1522::rfc1522_decode_word(word);
    } catch (const std::runtime_error&) {
        return;
    }
    const std::string utf16 = "=?utf-16?Q?=FE=FF=00a?=";
    require(tolva::rfc1522::decode(word + " " + utf16 + "\t" + word) == once + "a" + once,
            "a word decodes to the same text again");
}

// What is left of the text after a conversion from UTF-8 to UTF-8: bytes that are not UTF-8 are
// replaced, and there is no result when it ends in an incomplete character.
std::optional<std::string> as_utf8(const std::string& text) {
    try {
        return tolva::iconvRecode(text, "utf-8", "utf-8", true);
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

void encode_and_decode(const std::string& text) {
    const std::string encoded = tolva::rfc1522::encode(text);
    const bool plain = std::none_of(text.begin(), text.end(), tolva::rfc1522::rfc1522_nonprintable);
    require(plain == (encoded == text), "plain text and no other is unchanged");
    if (plain && ends_in_blank(text)) {
        return;  // stays as it is and does not decode
    }
    const std::optional<std::string> expected = as_utf8(text);
    require(expected.has_value() || !is_utf8(text), "UTF-8 is convertible");
    require(!is_utf8(text) || expected == text, "UTF-8 is converted to itself");
    try {
        require(tolva::rfc1522::decode(encoded) == expected, "decoding restores what was encoded");
    } catch (const std::runtime_error&) {
        require(!expected.has_value(), "what was encoded from UTF-8 decodes");
    }
}

void decode_base64(const std::string& text) {
    require(tolva::base64_decode(text).size() <= text.size(), "Base64 does not grow");
    std::size_t pos = 0;
    while (pos < text.size() && text[pos] != '=') {
        const std::size_t before = pos;
        require(tolva::base64Take(text, &pos) < 64, "a symbol is six bits");
        require(pos > before && pos <= text.size(), "a symbol is taken");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    decode_anything(text);
    decode_repeated(text);
    encode_and_decode(text);
    decode_base64(text);
    return 0;
}
