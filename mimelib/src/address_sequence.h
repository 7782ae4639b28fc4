#pragma once

#include <memory>
#include <vector>

#include <mimelib/address.h>

#include "mimelib/src/address_elements.h"

namespace mimelib {

// The valid elements of an address list, read as far as they have been asked for. It keeps the text
// and owns the elements.
class AddressSequence {
  public:
    AddressSequence(DwString text, Groups groups);

    // The first element, or null.
    DwAddress* first();
    // The element behind the last one read, or null.
    DwAddress* read_next();

  private:
    std::unique_ptr<DwAddress> make_address(const AddressElement& element) const;

    DwString text_;
    AddressElements elements_;
    std::vector<std::unique_ptr<DwAddress>> addresses_;
};

}  // namespace mimelib
