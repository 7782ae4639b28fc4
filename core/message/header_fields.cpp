// SPDX-License-Identifier: Apache-2.0

#include "core/message/header_fields.h"

#include <algorithm>

#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kWhiteSpace = " \t\r\n";

// The length of the field that `text` begins with, its newline included.
std::size_t field_length(std::string_view text) {
    std::size_t line_feed = text.find('\n');
    while (line_feed < text.size() && text.substr(line_feed + 1, 1).find_first_of(kBlanks) == 0) {
        line_feed = text.find('\n', line_feed + 1);
    }
    return std::min(line_feed, text.size() - 1) + 1;
}

std::string_view trim_end(std::string_view text, std::string_view what) {
    return text.substr(0, text.find_last_not_of(what) + 1);
}

std::string_view trim(std::string_view text, std::string_view what) {
    return trim_end(text.substr(std::min(text.find_first_not_of(what), text.size())), what);
}

}  // namespace

HeaderFields::Iterator& HeaderFields::Iterator::operator++() {
    while (!rest_.empty()) {
        const std::string_view field = rest_.substr(0, field_length(rest_));
        rest_.remove_prefix(field.size());
        const std::size_t colon = field.find(':');
        if (colon != std::string_view::npos) {
            field_ = {.name = trim_end(field.substr(0, colon), kBlanks),
                      .body = trim(field.substr(colon + 1), kWhiteSpace)};
            return *this;
        }
    }
    at_end_ = true;
    return *this;
}

std::optional<std::string_view> HeaderFields::first(std::string_view name) const {
    for (const HeaderField& field : *this) {
        if (tolva::equals_ignoring_case(field.name, name)) {
            return field.body;
        }
    }
    return std::nullopt;
}

}  // namespace autoresponder
