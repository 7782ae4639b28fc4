// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string_view>

namespace mimelib {

// Where an entity's headers end and its body starts, counted from the entity's first byte. The
// empty line between them belongs to neither.
struct EntitySplit {
    std::size_t headers_length;
    std::size_t body_start;
};

// The headers run as long as lines hold a colon or start with a space or tab; a last line without a
// line end is a header line too. The rest is the body, except for one line end at its start.
EntitySplit split_entity(std::string_view text);

}  // namespace mimelib
