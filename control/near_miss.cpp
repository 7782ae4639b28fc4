#include "control/near_miss.h"

#include <locale.h>

#include <climits>
#include <cwchar>
#include <cwctype>
#include <string_view>

#include "control/parts.h"

namespace {

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

// Each run of white space as one blank.
std::string on_one_line(std::string_view text) {
    std::string line;
    for (const char c : text) {
        const bool blank = c == ' ' || (c >= '\t' && c <= '\r');
        if (!blank) {
            line += c;
        } else if (!line.ends_with(' ')) {
            line += ' ';
        }
    }
    return line;
}

bool contains(std::string_view text, std::string_view key) {
    return text.find(key) != std::string_view::npos;
}

// What keeps `key` from being found in a text that is looked at line by line.
std::string difference(const std::string& key, const std::string& text) {
    const std::string folded_key = in_lower_case(key);
    const std::string folded_text = in_lower_case(text);
    if (contains(folded_text, folded_key)) {
        return "it is there, but the letter case differs";
    }
    const std::string key_line = on_one_line(key);
    if (contains(on_one_line(text), key_line)) {
        return "it is there, but with a line break or other blanks in it";
    }
    if (contains(on_one_line(folded_text), on_one_line(folded_key))) {
        return "it is there, but the letter case differs and there is a line break or other blanks "
               "in it";
    }
    return "";
}

// Where else in the message the key word stands, letter case ignored.
std::string other_place(const std::string& key, const DwMessage& message) {
    const std::string folded_key = on_one_line(in_lower_case(key));
    std::string place;
    visit_text_parts(message, [&](const DwEntity& part, const std::string& number) {
        if (contains(on_one_line(in_lower_case(text_in_utf8(part))), folded_key)) {
            place = "it is in part " + number + ", " + type_of(part) + ", which is not searched";
        }
        return place.empty();
    });
    return place;
}

}  // namespace

std::string in_lower_case(const std::string& text) {
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

std::string near_miss(const ResponderRow& responder, const Mail_content& mail,
                      const DwMessage& message) {
    const std::string& text = mail.body_lines.text();
    if (contains(responder.keystr, "\n")) {
        return "it contains a line break, but is compared with one line at a time";
    }
    const bool in_subject = responder.key_where == "subj";
    std::string here = difference(responder.keystr, in_subject ? mail.subject : text);
    if (!here.empty()) {
        return here;
    }
    if (contains(in_subject ? text : mail.subject, responder.keystr)) {
        return in_subject ? "it is in the text" : "it is in the subject";
    }
    return other_place(responder.keystr, message);
}
