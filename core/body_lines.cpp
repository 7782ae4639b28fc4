#include "core/body_lines.h"

#include <algorithm>

namespace {

std::size_t first_line_length(std::string_view text) {
    return std::min(text.find('\n'), text.size());
}

}  // namespace

BodyLines::Iterator::Iterator(std::string_view text)
    : rest_(text), length_(first_line_length(text)), at_end_(false) {}

BodyLines::Iterator& BodyLines::Iterator::operator++() {
    if (length_ == rest_.size()) {
        at_end_ = true;
    } else {
        rest_.remove_prefix(length_ + 1);
        length_ = first_line_length(rest_);
    }
    return *this;
}
