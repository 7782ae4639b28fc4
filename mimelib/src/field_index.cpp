// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/field_index.h"

namespace mimelib {
namespace {

constexpr std::array<std::string_view, kKnownFields> kNames = {
    "Reply-To", "From", "Subject", "Date", "Content-Type", "Content-Transfer-Encoding"};

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

// The end of the last line of the field that starts at `begin`.
std::size_t field_end(std::string_view headers, std::size_t begin) {
    std::size_t position = begin;
    do {
        const std::size_t line_feed = headers.find('\n', position);
        if (line_feed == std::string_view::npos) {
            return headers.size();
        }
        position = line_feed + 1;
    } while (position < headers.size() && is_blank(headers[position]));
    return position;
}

// Where the field's body starts when its name is `name`, else 0. A field that ends with its name
// has an empty body.
std::size_t body_start(std::string_view field, std::string_view name) {
    if (!equals_ignoring_case(field.substr(0, name.size()), name)) {
        return 0;
    }
    std::size_t position = name.size();
    while (position < field.size() && is_blank(field[position])) {
        ++position;
    }
    if (position == field.size()) {
        return position;
    }
    return field[position] == ':' ? position + 1 : 0;
}

// The field from `position` on, without leading blanks and trailing white space.
Slice trimmed(std::string_view field, std::size_t position) {
    std::size_t end = field.size();
    while (end > position && is_white(field[end - 1])) {
        --end;
    }
    while (position < end && is_blank(field[position])) {
        ++position;
    }
    return {position, end - position};
}

}  // namespace

FieldIndex index_fields(std::string_view headers) {
    FieldIndex index;
    std::size_t begin = 0;
    while (begin < headers.size()) {
        const std::size_t end = field_end(headers, begin);
        const std::string_view field = headers.substr(begin, end - begin);
        for (std::size_t known = 0; known < kKnownFields; ++known) {
            const std::size_t body = index[known] ? 0 : body_start(field, kNames[known]);
            if (body != 0) {
                const Slice slice = trimmed(field, body);
                index[known] = Slice{begin + slice.begin, slice.length};
                break;
            }
        }
        begin = end;
    }
    return index;
}

}  // namespace mimelib
