// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/address_sequence.h"

#include "mimelib/src/mailbox_parts.h"
#include "mimelib/src/view.h"

namespace mimelib {

DwAddress* AddressSequence::after(const DwAddress& address) {
    last_two_.use(address);
    return at(address.next_position_);
}

DwAddress* AddressSequence::at(std::size_t position) {
    return last_two_.at(position, [&] { return read(position); });
}

// The first valid element at or after `position`, where an element starts; null if there is none.
std::unique_ptr<DwAddress> AddressSequence::read(std::size_t position) {
    AddressElements elements(view(text_), groups_, position);
    while (const auto element = elements.next()) {
        if (std::unique_ptr<DwAddress> address = make_address(*element)) {
            address->sequence_ = this;
            address->next_position_ = elements.position();
            return address;
        }
    }
    return nullptr;
}

// The element as an address; null when it is not a valid one.
std::unique_ptr<DwAddress> AddressSequence::make_address(const AddressElement& element) const {
    DwString text = slice_of(text_, element.slice);
    if (element.is_group) {
        return element.is_named ? std::make_unique<DwGroup>(std::move(text), true) : nullptr;
    }
    MailboxParts parts = read_mailbox(text);
    if (parts.local_part.empty()) {
        return nullptr;
    }
    return std::make_unique<DwMailbox>(std::move(text), std::move(parts.local_part),
                                       std::move(parts.domain));
}

}  // namespace mimelib
