// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include <mimelib/address.h>
#include <mimelib/string.h>

#include "mimelib/src/address_elements.h"
#include "mimelib/src/last_two.h"

namespace mimelib {

// The valid elements of an address list, read on demand. It holds the text and the two elements
// used last.
class AddressSequence {
  public:
    AddressSequence(DwString text, Groups groups) : text_(std::move(text)), groups_(groups) {}

    // The first element, or null.
    DwAddress* first() { return at(0); }
    // The element after `address`, or null.
    DwAddress* after(const DwAddress& address);

  private:
    DwAddress* at(std::size_t position);
    std::unique_ptr<DwAddress> read(std::size_t position);
    std::unique_ptr<DwAddress> make_address(const AddressElement& element) const;

    DwString text_;
    Groups groups_;
    LastTwo<DwAddress> last_two_;
};

}  // namespace mimelib
