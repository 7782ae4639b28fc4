// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "mimelib/src/view.h"

namespace mimelib {

enum class Groups { kRecognised, kIgnored };

// An element between the commas of an address list.
struct AddressElement {
    Slice slice;
    bool is_group = false;
    // For a group: whether a word stands before the first colon, which ends the name within <...>
    // too, although only a colon elsewhere makes a group.
    bool is_named = false;
};

// Splits an address list at its commas. A comma within <...> or within a group separates nothing;
// when those are never closed, the element takes the rest of the list.
class AddressElements {
  public:
    AddressElements(std::string_view text, Groups groups, std::size_t position = 0)
        : text_(text), groups_(groups), position_(position) {}

    std::optional<AddressElement> next();

    // Where the next element starts; past the end of the text when there is none.
    std::size_t position() const { return position_; }

  private:
    std::string_view text_;
    Groups groups_;
    std::size_t position_;
};

}  // namespace mimelib
