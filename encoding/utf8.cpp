// SPDX-License-Identifier: Apache-2.0

#include "encoding/utf8.h"

#include <locale.h>

#include <climits>
#include <cwchar>
#include <cwctype>

namespace tolva {

namespace {

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
}

// While it lives, multibyte characters of the C library are UTF-8.
class Utf8Locale {
  public:
    Utf8Locale() : utf8_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (utf8_ != nullptr) {
            before_ = uselocale(utf8_);
        }
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale() {
        if (utf8_ != nullptr) {
            uselocale(before_);
            freelocale(utf8_);
        }
    }

  private:
    locale_t utf8_ = nullptr;
    locale_t before_ = nullptr;
};

wchar_t lower_case(wchar_t character) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(character)));
}

}  // namespace

std::string_view utf8_prefix(std::string_view text, std::size_t most) {
    constexpr std::size_t longest_character = 4;
    for (std::size_t back = 1; back < longest_character && back <= most; ++back) {
        const std::size_t begin = most - back;
        if (begin < text.size() && utf8_character_length(text.substr(begin)) > back) {
            return text.substr(0, begin);
        }
    }
    return text.substr(0, most);
}

std::size_t utf8_character_length(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = byte(0) < 0x80   ? 1
                               : byte(0) < 0xC2 ? 0
                               : byte(0) < 0xE0 ? 2
                               : byte(0) < 0xF0 ? 3
                               : byte(0) < 0xF5 ? 4
                                                : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!is_continuation(text[i])) {
            return 0;
        }
    }
    const bool c1_control = length == 2 && byte(0) == 0xC2 && byte(1) < 0xA0;
    const bool overlong =
        (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool out_of_range =
        (byte(0) == 0xED && byte(1) >= 0xA0) || (byte(0) == 0xF4 && byte(1) >= 0x90);
    return c1_control || overlong || out_of_range ? 0 : length;
}

std::string utf8_lower_case(const std::string& text) {
    const Utf8Locale utf8;
    std::string folded;
    folded.reserve(text.size());
    std::mbstate_t state{};
    for (std::size_t position = 0; position < text.size();) {
        wchar_t character = 0;
        const std::size_t length =
            std::mbrtowc(&character, text.data() + position, text.size() - position, &state);
        char bytes[MB_LEN_MAX];
        std::mbstate_t out{};
        const bool valid = length != 0 && length <= text.size() - position;
        const std::size_t written =
            valid ? std::wcrtomb(bytes, lower_case(character), &out) : static_cast<std::size_t>(-1);
        if (written == static_cast<std::size_t>(-1)) {
            folded += text[position++];
            state = {};
        } else {
            folded.append(bytes, written);
            position += length;
        }
    }
    return folded;
}

}  // namespace tolva
