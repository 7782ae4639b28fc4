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

// Headers run while lines hold a colon or start with a space or tab; a last line that is not ended
// is taken for a header line. What follows is the body, behind one line end if it starts with one.
EntitySplit split_entity(std::string_view text);

}  // namespace mimelib
