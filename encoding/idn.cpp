// SPDX-License-Identifier: Apache-2.0

#include "encoding/idn.h"

#include <idna.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

const char* idn_strerror(int code) {
    switch (code) {
        case IDNA_SUCCESS:
            return "Success";
        case IDNA_STRINGPREP_ERROR:
            return "Stringprep error";
        case IDNA_PUNYCODE_ERROR:
            return "Punycode error";
        case IDNA_CONTAINS_NON_LDH:
            return "Contains non-LDH characters";
        case IDNA_CONTAINS_MINUS:
            return "Contains minus";
        case IDNA_INVALID_LENGTH:
            return "Invalid length";
        case IDNA_NO_ACE_PREFIX:
            return "ACE prefix not found";
        case IDNA_ROUNDTRIP_VERIFY_ERROR:
            return "Verify error";
        case IDNA_CONTAINS_ACE_PREFIX:
            return "ACE prefix found";
        case IDNA_ICONV_ERROR:
            return "Iconv error";
        case IDNA_MALLOC_ERROR:
            return "Cannot allocate buffer";
        default:
            return "Unknown error";
    }
}

namespace tolva::idn {

namespace {

struct Free {
    void operator()(char* text) const { std::free(text); }
};

// Runs one of libidn's conversions of zero-terminated UTF-8.
std::string convert(int (*conversion)(const char* input, char** output, int flags),
                    const std::string& name) {
    char* output = nullptr;
    const int code = conversion(name.c_str(), &output, 0);
    const std::unique_ptr<char, Free> text(output);
    if (code != IDNA_SUCCESS) {
        throw IdnaError(code);
    }
    if (!text) {
        throw std::bad_alloc();
    }
    return text.get();
}

}  // namespace

const char* IdnaError::what() const noexcept {
    return idn_strerror(code_);
}

std::string toAscii(const std::string& name) {
    return convert(idna_to_ascii_8z, name);
}

void check_lengths(std::string_view name) {
    constexpr std::size_t longest_label = 63;
    if (name == ".") {
        return;
    }
    while (!name.empty()) {
        const std::size_t dot = std::min(name.find('.'), name.size());
        if (dot == 0 || dot > longest_label) {
            throw IdnaError(IDNA_INVALID_LENGTH);
        }
        name.remove_prefix(std::min(dot + 1, name.size()));
    }
}

std::string toUtf8(const std::string& name) {
    return convert(idna_to_unicode_8z8z, name);
}

std::string emailToAscii(const std::string& address) {
    const std::size_t at = address.find('@');
    if (at == std::string::npos) {
        return address;
    }
    return address.substr(0, at + 1) + toAscii(address.substr(at + 1));
}

}  // namespace tolva::idn
