// SPDX-License-Identifier: Apache-2.0

#include "core/message/field_tokens.h"

#include <algorithm>

#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr std::string_view kSpecials = "()<>@,;:\\\".[]";

bool is_gap(char c) {
    return c == ' ' || tolva::is_control_character(c);
}

bool is_atom_byte(char c) {
    return !is_gap(c) && kSpecials.find(c) == std::string_view::npos;
}

// The length of the delimited text that `text` begins with, up to the `closing` that no backslash
// escapes; npos if it is never closed. It nests, unless `opening` is `closing`.
std::size_t delimited_length(std::string_view text, char opening, char closing) {
    std::size_t depth = 1;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == closing) {
            if (--depth == 0) {
                return i + 1;
            }
        } else if (text[i] == opening) {
            ++depth;
        }
    }
    return std::string_view::npos;
}

}  // namespace

FieldToken FieldTokens::next() {
    skip_gaps_and_comments();
    if (rest_.empty()) {
        return {};
    }
    if (rest_.front() == '"' || rest_.front() == '[') {
        return take_delimited();
    }
    const auto atom_end = std::ranges::find_if_not(rest_, is_atom_byte);
    const auto atom_length = static_cast<std::size_t>(atom_end - rest_.begin());
    return atom_length > 0 ? take(FieldToken::Kind::kAtom, atom_length)
                           : take(FieldToken::Kind::kSpecial, 1);
}

void FieldTokens::skip_gaps_and_comments() {
    for (;;) {
        const auto gap_end = std::ranges::find_if_not(rest_, is_gap);
        rest_.remove_prefix(static_cast<std::size_t>(gap_end - rest_.begin()));
        if (!rest_.starts_with('(')) {
            return;
        }
        rest_.remove_prefix(std::min(delimited_length(rest_, '(', ')'), rest_.size()));
    }
}

FieldToken FieldTokens::take(FieldToken::Kind kind, std::size_t length) {
    const FieldToken token{kind, rest_.substr(0, length)};
    rest_.remove_prefix(length);
    return token;
}

FieldToken FieldTokens::take_delimited() {
    const bool quoted = rest_.front() == '"';
    const std::size_t length =
        quoted ? delimited_length(rest_, '"', '"') : delimited_length(rest_, ']', ']');
    if (length == std::string_view::npos) {
        rest_ = {};
        return {};
    }
    FieldToken token =
        take(quoted ? FieldToken::Kind::kQuotedString : FieldToken::Kind::kDomainLiteral, length);
    if (quoted) {
        token.text = token.text.substr(1, length - 2);
    }
    return token;
}

}  // namespace autoresponder
