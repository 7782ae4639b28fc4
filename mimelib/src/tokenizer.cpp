// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/tokenizer.h"

namespace mimelib {

Token Tokenizer::next() {
    while (position_ < text_.size() && class_at(position_) == ByteClass::kGap) {
        ++position_;
    }
    if (position_ >= text_.size()) {
        return {};
    }
    const std::size_t begin = position_;
    if (class_at(begin) == ByteClass::kAtom) {
        while (position_ < text_.size() && class_at(position_) == ByteClass::kAtom) {
            ++position_;
        }
        return {TokenKind::kAtom, {begin, position_ - begin}, '\0'};
    }
    switch (text_[begin]) {
        case '"':
            return delimited(TokenKind::kQuotedString, find_end('"'));
        case '[':
            return delimited(TokenKind::kDomainLiteral, find_end(']'));
        case '(':
            return delimited(TokenKind::kComment, find_comment_end());
        default:
            ++position_;
            return {TokenKind::kSpecial, {begin, 1}, text_[begin]};
    }
}

// The token from the current position to `end`; none if `end` is npos, as it is never closed.
Token Tokenizer::delimited(TokenKind kind, std::size_t end) {
    if (end == std::string_view::npos) {
        position_ = text_.size();
        return {};
    }
    const std::size_t begin = position_;
    position_ = end;
    return {kind, {begin, end - begin}, '\0'};
}

// The position after the first unescaped `closing` after the current byte, or npos.
std::size_t Tokenizer::find_end(char closing) const {
    for (std::size_t i = position_ + 1; i < text_.size(); ++i) {
        if (text_[i] == '\\') {
            ++i;
        } else if (text_[i] == closing) {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

std::size_t Tokenizer::find_comment_end() const {
    std::size_t depth = 0;
    for (std::size_t i = position_; i < text_.size(); ++i) {
        if (text_[i] == '\\') {
            ++i;
        } else if (text_[i] == '(') {
            ++depth;
        } else if (text_[i] == ')' && --depth == 0) {
            return i + 1;
        }
    }
    return std::string_view::npos;
}

}  // namespace mimelib
