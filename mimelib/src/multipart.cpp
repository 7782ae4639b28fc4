// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/multipart.h"

#include <cstring>

namespace mimelib {
namespace {

// Where the dashes end that follow the boundary text, which ends at `position`, and the white space
// that follows them.
std::size_t padding_end(std::string_view body, std::size_t position) {
    position = body.find_first_not_of('-', position);
    if (position != std::string_view::npos) {
        position = body.find_first_not_of(" \t\r", position);
    }
    return position == std::string_view::npos ? body.size() : position;
}

bool is_line_end(std::string_view body, std::size_t position) {
    return position == body.size() || body[position] == '\n';
}

// The position after the first LF at or after `position`.
std::size_t after_line(std::string_view body, std::size_t position) {
    const std::size_t line_feed = body.find('\n', position);
    return line_feed == std::string_view::npos ? body.size() : line_feed + 1;
}

// Where to look for the line end of a final boundary line. The character after the first dash is
// skipped whenever a dash follows it, even if it is the line feed.
std::size_t after_dashes(std::string_view body, std::size_t first_dash) {
    const std::size_t second = first_dash + 1;
    const bool dash_follows = second + 1 < body.size() && body[second + 1] == '-';
    return dash_follows ? second + 1 : second;
}

// std::string_view::find tries every place where the first byte matches, which a hostile body can
// make slow; memmem is linear.
std::size_t find_text(std::string_view text, std::string_view pattern, std::size_t from) {
    const void* found =
        ::memmem(text.data() + from, text.size() - from, pattern.data(), pattern.size());
    return found == nullptr
               ? std::string_view::npos
               : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

}  // namespace

BoundarySearch::BoundarySearch(std::string_view boundary_text)
    : delimiter_("\n--"), length_(delimiter_.size() + boundary_text.size()) {
    const std::size_t zero = boundary_text.find('\0');
    delimiter_ +=
        zero == std::string_view::npos ? boundary_text : boundary_text.substr(0, zero + 1);
}

std::optional<BoundaryLine> BoundarySearch::find(std::string_view body, std::size_t from) const {
    if (const auto found = at_start(body, from)) {
        return found;
    }
    std::size_t padding = 0;
    for (std::size_t line_end = find_text(body, delimiter_, from);
         line_end != std::string_view::npos && length_ <= body.size() - line_end;
         line_end = find_text(body, delimiter_, line_end + 1)) {
        const std::size_t tail = line_end + length_;
        // A delimiter may begin in what another one passes over, and the same padding may then
        // follow many of them. It is read only once, as it ends no line, whichever it follows.
        if (tail < padding) {
            continue;
        }
        padding = padding_end(body, tail);
        if (!is_line_end(body, padding)) {
            continue;
        }
        const bool has_cr = line_end > from && body[line_end - 1] == '\r';
        const bool is_final = body.substr(tail).starts_with('-');
        return BoundaryLine{has_cr ? line_end - 1 : line_end,
                            after_line(body, is_final ? after_dashes(body, tail) : tail), is_final};
    }
    return std::nullopt;
}

// The boundary line that the searched text starts with, which has no line end before it. It takes
// two dashes to be the final one.
std::optional<BoundaryLine> BoundarySearch::at_start(std::string_view body,
                                                     std::size_t from) const {
    const std::string_view line_start = std::string_view(delimiter_).substr(1);
    const std::size_t tail = from + length_ - 1;
    if (!body.substr(from).starts_with(line_start) || tail > body.size() ||
        !is_line_end(body, padding_end(body, tail))) {
        return std::nullopt;
    }
    return BoundaryLine{from, after_line(body, tail), body.substr(tail).starts_with("--")};
}

// The first boundary line opens the first part even if it looks like the final one.
std::optional<std::size_t> first_part(const BoundarySearch& boundary, std::string_view body) {
    const auto opening = boundary.find(body, 0);
    return opening ? std::optional(opening->end) : std::nullopt;
}

MultipartPart part_at(const BoundarySearch& boundary, std::string_view body, std::size_t position) {
    const auto closing = boundary.find(body, position);
    if (!closing) {
        return {{position, body.size() - position}, std::nullopt};
    }
    const Slice slice = {position, closing->begin - position};
    return {slice, closing->is_final ? std::nullopt : std::optional(closing->end)};
}

}  // namespace mimelib
