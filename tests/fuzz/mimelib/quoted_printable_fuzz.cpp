// SPDX-License-Identifier: Apache-2.0

#include <cctype>

#include "tests/fuzz/mimelib/property.h"

namespace {

// Encodes all but letters and digits, with soft line breaks.
std::string encode(const std::string& text) {
    static const char digits[] = "0123456789ABCDEF";
    std::string encoded;
    std::size_t column = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && std::isalnum(byte) != 0) {
            encoded += c;
        } else {
            encoded += {'=', digits[byte >> 4], digits[byte & 15]};
        }
        if (++column % 25 == 0) {
            encoded += "=\r\n";
        }
    }
    return encoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const DwString text = input(data, size);
    DwString decoded;
    const int result = DwDecodeQuotedPrintable(text, decoded);
    require(result == 0 || result == -1, "the result is 0 or -1");
    require(to_string(decoded) == naive::quoted_printable(to_string(text)),
            "decodes as the naive decoder");
    require(decoded.length() <= size, "the output is no longer than the input");

    DwString original;
    require(DwDecodeQuotedPrintable(to_dw_string(encode(to_string(text))), original) == 0,
            "encoded text is well formed");
    require(original == text, "decoding what was encoded returns the original");
    return 0;
}
