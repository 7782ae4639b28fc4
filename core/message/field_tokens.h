// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string_view>

namespace autoresponder {

/// A token of a structured field body (RFC 5322, 3.2).
struct FieldToken {
    enum class Kind {
        kEnd,
        kAtom,           ///< a run of bytes that are neither gaps nor specials
        kQuotedString,   ///< `text` is what stands between the quotes, backslashes included
        kDomainLiteral,  ///< with its brackets
        kSpecial,        ///< one of ( ) < > @ , ; : \ " . [ ]
    };

    Kind kind = Kind::kEnd;
    std::string_view text;

    [[nodiscard]] bool is(char special) const {
        return kind == Kind::kSpecial && text.front() == special;
    }
    [[nodiscard]] bool is_word() const {
        return kind == Kind::kAtom || kind == Kind::kQuotedString;
    }
};

/// Reads a field body token by token, in time proportional to its length. White space, control
/// characters and comments, which nest, only divide tokens. What is opened by a quote, bracket or
/// parenthesis and never closed takes the rest of the body with it, unread.
class FieldTokens {
  public:
    explicit FieldTokens(std::string_view body) : rest_(body) {}

    /// The next token; kEnd when there is none, again and again.
    FieldToken next();

  private:
    void skip_gaps_and_comments();
    FieldToken take(FieldToken::Kind kind, std::size_t length);
    FieldToken take_delimited();

    std::string_view rest_;
};

}  // namespace autoresponder
