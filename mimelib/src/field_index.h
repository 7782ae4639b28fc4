// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "mimelib/src/view.h"

namespace mimelib {

enum KnownField : std::size_t {
    kReplyTo,
    kFrom,
    kSubject,
    kDate,
    kContentType,
    kContentTransferEncoding,
    kKnownFields
};

// The body of the first field of each known name, without leading spaces and tabs and without
// trailing white space.
using FieldIndex = std::array<std::optional<Slice>, kKnownFields>;

// `headers` as split_entity finds them.
FieldIndex index_fields(std::string_view headers);

}  // namespace mimelib
