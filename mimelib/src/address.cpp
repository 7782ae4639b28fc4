// SPDX-License-Identifier: Apache-2.0

#include <utility>

#include <mimelib/address.h>

#include "mimelib/src/address_elements.h"
#include "mimelib/src/address_sequence.h"

using mimelib::AddressSequence;
using mimelib::Groups;

DwAddress::DwAddress(DwString text, bool valid) noexcept
    : DwFieldBody(std::move(text)), valid_(valid) {}

DwAddress* DwAddress::Next() const {
    return sequence_ == nullptr ? nullptr : sequence_->after(*this);
}

DwMailbox::DwMailbox(DwString text, DwString local_part, DwString domain) noexcept
    : DwAddress(std::move(text), !local_part.empty()),
      local_part_(std::move(local_part)),
      domain_(std::move(domain)) {}

DwBool DwMailbox::IsGroup() const {
    return false;
}

DwGroup::DwGroup(DwString text, bool named) noexcept : DwAddress(std::move(text), named) {}

DwBool DwGroup::IsGroup() const {
    return true;
}

DwAddressList::DwAddressList(DwString text) noexcept : DwFieldBody(std::move(text)) {}

DwAddressList::~DwAddressList() = default;

DwAddress* DwAddressList::FirstAddress() const {
    if (!sequence_) {
        sequence_ = std::make_unique<AddressSequence>(text(), Groups::kRecognised);
    }
    return sequence_->first();
}

DwMailboxList::DwMailboxList(DwString text) noexcept : DwFieldBody(std::move(text)) {}

DwMailboxList::~DwMailboxList() = default;

DwMailbox* DwMailboxList::FirstMailbox() const {
    if (!sequence_) {
        sequence_ = std::make_unique<AddressSequence>(text(), Groups::kIgnored);
    }
    // Without groups every element is a mailbox.
    return static_cast<DwMailbox*>(sequence_->first());
}
