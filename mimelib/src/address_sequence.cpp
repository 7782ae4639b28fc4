#include "mimelib/src/address_sequence.h"

#include "mimelib/src/mailbox_parts.h"

namespace mimelib {

AddressSequence::AddressSequence(DwString text, Groups groups)
    : text_(std::move(text)), elements_(view(text_), groups) {}

DwAddress* AddressSequence::first() {
    return addresses_.empty() ? read_next() : addresses_.front().get();
}

DwAddress* AddressSequence::read_next() {
    while (const auto element = elements_.next()) {
        std::unique_ptr<DwAddress> address = make_address(*element);
        if (!address) {
            continue;
        }
        DwAddress* const read = address.get();
        read->sequence_ = this;
        addresses_.push_back(std::move(address));
        if (addresses_.size() > 1) {
            addresses_[addresses_.size() - 2]->next_ = read;
        }
        return read;
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
