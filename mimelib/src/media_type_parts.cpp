// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/media_type_parts.h"

namespace mimelib {

Slice MediaTypeReader::read_type() {
    const Slice type = next_atom().slice;
    if (skip_past('/')) {
        next_atom();
    }
    return type;
}

std::optional<MediaTypeReader::Parameter> MediaTypeReader::next_parameter() {
    if (!skip_past(';')) {
        return std::nullopt;
    }
    const std::size_t begin = tokenizer_.position();
    const Token attribute = next_atom();
    if (!skip_past('=')) {
        return std::nullopt;
    }
    const auto value = read_value();
    if (!value) {
        return std::nullopt;
    }
    const Slice whole = {begin, tokenizer_.position() - begin};
    return Parameter{whole, attribute.slice, *value};
}

bool MediaTypeReader::skip_past(char special) {
    Token token = tokenizer_.next();
    while (token.kind != TokenKind::kEnd && !token.is(special)) {
        token = tokenizer_.next();
    }
    return token.kind != TokenKind::kEnd;
}

Token MediaTypeReader::next_atom() {
    Token token = tokenizer_.next();
    while (token.kind != TokenKind::kEnd && token.kind != TokenKind::kAtom) {
        token = tokenizer_.next();
    }
    return token;
}

Token MediaTypeReader::next_word() {
    Token token = tokenizer_.next();
    while (token.kind != TokenKind::kEnd && !token.is_word()) {
        token = tokenizer_.next();
    }
    return token;
}

bool MediaTypeReader::slash_follows() const {
    return Tokenizer(tokenizer_).next().is('/');
}

// The first word. If a slash follows it ("charset=iso/8859"), the parameter extends to the next
// word without one; if there is none, it has no value.
std::optional<Slice> MediaTypeReader::read_value() {
    const Token value = next_word();
    Token last = value;
    while (last.kind != TokenKind::kEnd && slash_follows()) {
        last = next_word();
    }
    if (last.kind == TokenKind::kEnd) {
        return std::nullopt;
    }
    return value.kind == TokenKind::kQuotedString
               ? Slice{value.slice.begin + 1, value.slice.length - 2}
               : value.slice;
}

}  // namespace mimelib
