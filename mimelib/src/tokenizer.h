// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "mimelib/src/view.h"

namespace mimelib {

// What each byte value means outside of quoted strings, comments and domain literals.
enum class ByteClass : unsigned char { kAtom, kGap, kSpecial };
using ByteClasses = std::array<ByteClass, 256>;

// Gaps are the space and the control characters below it, except for 0x10. 0x7F and the bytes from
// 0x80 on belong to atoms.
constexpr ByteClasses byte_classes(std::string_view specials) {
    ByteClasses classes{};
    for (std::size_t byte = 0; byte <= ' '; ++byte) {
        classes[byte] = byte == 0x10 ? ByteClass::kAtom : ByteClass::kGap;
    }
    for (const char special : specials) {
        classes[static_cast<unsigned char>(special)] = ByteClass::kSpecial;
    }
    return classes;
}

// RFC 822, section 3.3, and RFC 2045, section 5.1 (which adds no '.', but '/', '?' and '=').
inline constexpr ByteClasses kAddressBytes = byte_classes("()<>@,;:\\\".[]");
inline constexpr ByteClasses kMediaTypeBytes = byte_classes("()<>@,;:\\\"/[]?=");

enum class TokenKind { kEnd, kAtom, kQuotedString, kComment, kDomainLiteral, kSpecial };

// A token and its place in the text; delimiters belong to it. A special is a token of one byte.
struct Token {
    TokenKind kind = TokenKind::kEnd;
    Slice slice;
    char special = '\0';

    bool is(char c) const { return kind == TokenKind::kSpecial && special == c; }
    bool is_word() const { return kind == TokenKind::kAtom || kind == TokenKind::kQuotedString; }
};

// Reads a structured field body token by token. A quoted string, comment or domain literal that is
// never closed swallows the rest of the text and yields no token.
class Tokenizer {
  public:
    Tokenizer(std::string_view text, const ByteClasses& classes, std::size_t position = 0)
        : text_(text), classes_(&classes), position_(position) {}

    Token next();

    // Where the next token, or a gap before it, starts.
    std::size_t position() const { return position_; }

  private:
    ByteClass class_at(std::size_t position) const {
        return (*classes_)[static_cast<unsigned char>(text_[position])];
    }
    Token delimited(TokenKind kind, std::size_t end);
    std::size_t find_end(char closing) const;
    std::size_t find_comment_end() const;

    std::string_view text_;
    const ByteClasses* classes_;
    std::size_t position_;
};

}  // namespace mimelib
