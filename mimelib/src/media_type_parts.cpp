#include "mimelib/src/media_type_parts.h"

namespace mimelib {

Slice MediaTypeReader::read_type() {
    const Slice type = next_atom().slice;
    if (skip_behind('/')) {
        next_atom();
    }
    return type;
}

std::optional<MediaTypeReader::Parameter> MediaTypeReader::next_parameter() {
    while (skip_behind(';')) {
        const std::size_t begin = tokenizer_.position();
        const Token attribute = next_atom();
        if (!skip_behind('=')) {
            return std::nullopt;
        }
        if (const auto value = read_value()) {
            const Slice whole = {begin, tokenizer_.position() - begin};
            return Parameter{whole, attribute.slice, *value};
        }
    }
    return std::nullopt;
}

bool MediaTypeReader::skip_behind(char special) {
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

// The first atom or quoted string. An atom with a slash directly behind it is not yet the end of
// the parameter ("charset=iso/8859"): words are skipped up to the first that ends it.
std::optional<Slice> MediaTypeReader::read_value() {
    std::optional<Slice> value;
    for (Token token = tokenizer_.next(); token.kind != TokenKind::kEnd;
         token = tokenizer_.next()) {
        if (!token.is_word()) {
            continue;
        }
        const bool quoted = token.kind == TokenKind::kQuotedString;
        if (!value) {
            value = quoted ? Slice{token.slice.begin + 1, token.slice.length - 2} : token.slice;
        }
        if (quoted || !text_.substr(tokenizer_.position()).starts_with('/')) {
            break;
        }
    }
    return value;
}

}  // namespace mimelib
