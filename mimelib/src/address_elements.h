#pragma once

#include <optional>
#include <string_view>

#include "mimelib/src/tokenizer.h"

namespace mimelib {

enum class Groups { kRecognised, kIgnored };

// An element between the commas of an address list.
struct AddressElement {
    Slice slice;
    bool is_group = false;
    // For a group: whether a word stands before the colon.
    bool is_named = false;
};

// Splits an address list at its commas. A comma within <...> or within a group separates nothing;
// when those are never closed, the element takes the rest of the list.
class AddressElements {
  public:
    AddressElements(std::string_view text, Groups groups)
        : tokenizer_(text, kAddressBytes), size_(text.size()), groups_(groups) {}

    std::optional<AddressElement> next();

  private:
    Tokenizer tokenizer_;
    std::size_t size_;
    Groups groups_;
    bool at_end_ = false;
};

}  // namespace mimelib
