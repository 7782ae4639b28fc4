// SPDX-License-Identifier: Apache-2.0

#include "tests/fuzz/mimelib/property.h"

namespace {

std::string encode(const std::string& text) {
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        const std::string bytes = text.substr(i, 3);
        unsigned bits = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            bits = bits << 8 | (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0U);
        }
        for (unsigned j = 0; j < 4; ++j) {
            encoded += j <= bytes.size() ? alphabet[bits >> (18 - 6 * j) & 63] : '=';
        }
        encoded += i % 57 == 54 ? "\r\n" : "";
    }
    return encoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const DwString text = input(data, size);
    DwString decoded;
    const int result = DwDecodeBase64(text, decoded);
    require(result == 0 || result == -1, "the result is 0 or -1");
    require(to_string(decoded) == naive::base64(to_string(text)), "decodes as the naive decoder");
    require(decoded.length() <= size / 4 * 3, "the output is shorter than the input");

    DwString original;
    require(DwDecodeBase64(to_dw_string(encode(to_string(text))), original) == 0,
            "encoded text is well formed");
    require(original == text, "decoding what was encoded returns the original");
    return 0;
}
