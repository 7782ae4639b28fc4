// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "mimelib/src/tokenizer.h"
#include "mimelib/src/view.h"

namespace mimelib {

// Reads a media type from left to right: the type first, then its parameters.
class MediaTypeReader {
  public:
    struct Parameter {
        Slice whole;
        Slice attribute;
        Slice value;  // without quotes
    };

    explicit MediaTypeReader(std::string_view text, std::size_t position = 0)
        : tokenizer_(text, kMediaTypeBytes, position) {}

    // The type, empty if there is none. Skips the subtype, which nothing depends on.
    Slice read_type();
    // The next parameter that has an attribute and a value.
    std::optional<Parameter> next_parameter();

    // Where reading continues.
    std::size_t position() const { return tokenizer_.position(); }

  private:
    bool skip_past(char special);
    Token next_atom();
    Token next_word();
    bool slash_follows() const;
    std::optional<Slice> read_value();

    Tokenizer tokenizer_;
};

}  // namespace mimelib
