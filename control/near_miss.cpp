// SPDX-License-Identifier: Apache-2.0

#include "control/near_miss.h"

#include <string_view>

#include "control/parts.h"
#include "encoding/utf8.h"
#include "support/ascii.h"

namespace autoresponder::control {

namespace {

// Each run of white space as one blank.
std::string with_single_blanks(std::string_view text) {
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

// What keeps `key` from being found in a text that is looked at line by line.
std::string difference(const std::string& key, const std::string& text) {
    const std::string folded_key = tolva::utf8_lower_case(key);
    const std::string folded_text = tolva::utf8_lower_case(text);
    if (tolva::contains(folded_text, folded_key)) {
        return "it is there, but the letter case differs";
    }
    const std::string key_line = with_single_blanks(key);
    if (tolva::contains(with_single_blanks(text), key_line)) {
        return "it is there, but with a line break or other blanks in it";
    }
    if (tolva::contains(with_single_blanks(folded_text), with_single_blanks(folded_key))) {
        return "it is there, but the letter case differs and there is a line break or other blanks "
               "in it";
    }
    return "";
}

// Where else in the message the key word stands, letter case ignored.
std::string other_place(const std::string& key, const DwMessage& message) {
    const std::string folded_key = with_single_blanks(tolva::utf8_lower_case(key));
    std::string place;
    visit_text_parts(message, [&](const DwEntity& part, const std::string& number) {
        if (tolva::contains(with_single_blanks(tolva::utf8_lower_case(text_in_utf8(part))),
                            folded_key)) {
            place = "it is in part " + number + ", " + type_of(part) + ", which is not searched";
        }
        return place.empty();
    });
    return place;
}

}  // namespace

std::string near_miss(const ResponderRow& responder, const Mail_content& mail,
                      const DwMessage& message) {
    const std::string& text = mail.body_lines.text();
    if (tolva::contains(responder.key, "\n")) {
        return "it contains a line break, but is compared with one line at a time";
    }
    const bool in_subject = responder.key_place == KeyPlace::kSubject;
    std::string here = difference(responder.key, in_subject ? mail.subject : text);
    if (!here.empty()) {
        return here;
    }
    if (tolva::contains(in_subject ? text : mail.subject, responder.key)) {
        return in_subject ? "it is in the text" : "it is in the subject";
    }
    return other_place(responder.key, message);
}

}  // namespace autoresponder::control
