// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/entity_split.h"

namespace mimelib {
namespace {

// The length of the line end at the start of `text`: 2 for CR LF, 1 for LF, else 0.
std::size_t line_end_length(std::string_view text) {
    if (text.starts_with("\r\n")) {
        return 2;
    }
    return text.starts_with('\n') ? 1 : 0;
}

bool is_header_line(std::string_view line) {
    return line.front() == ' ' || line.front() == '\t' || line.find(':') != std::string_view::npos;
}

}  // namespace

EntitySplit split_entity(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::string_view rest = text.substr(position);
        const std::size_t line_feed = rest.find('\n');
        if (line_feed == std::string_view::npos) {
            position = text.size();
        } else if (is_header_line(rest.substr(0, line_feed + 1))) {
            position += line_feed + 1;
        } else {
            break;
        }
    }
    return {position, position + line_end_length(text.substr(position))};
}

}  // namespace mimelib
