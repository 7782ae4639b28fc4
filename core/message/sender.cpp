// SPDX-License-Identifier: Apache-2.0

#include "core/message/sender.h"

#include "core/message/dw_string.h"

namespace autoresponder {

namespace {

std::string address_of(const DwMailbox& mailbox) {
    return to_string(mailbox.LocalPart()) + "@" + to_string(mailbox.Domain());
}

// The first of the addresses from `address` on that is usable.
DwMailbox* first_mailbox(DwAddress* address, bool (*is_usable)(const DwAddress&)) {
    while (address != nullptr && !is_usable(*address)) {
        address = address->Next();
    }
    return static_cast<DwMailbox*>(address);
}

}  // namespace

std::optional<Sender> find_sender(DwHeaders& headers) {
    if (headers.HasReplyTo()) {
        if (const DwMailbox* mailbox = GetMailboxFromAddressList(headers.ReplyTo())) {
            return Sender{address_of(*mailbox), Sender::Field::kReplyTo};
        }
    }
    if (headers.HasFrom()) {
        if (const DwMailbox* mailbox = GetMailboxFromMailboxList(headers.From())) {
            return Sender{address_of(*mailbox), Sender::Field::kFrom};
        }
    }
    return std::nullopt;
}

DwMailbox* GetMailboxFromAddressList(const DwAddressList& addresses) {
    return first_mailbox(addresses.FirstAddress(), [](const DwAddress& address) {
        return address.IsValid() && !address.IsGroup() && address.IsMailbox();
    });
}

DwMailbox* GetMailboxFromMailboxList(const DwMailboxList& mailboxes) {
    return first_mailbox(mailboxes.FirstMailbox(),
                         [](const DwAddress& mailbox) { return mailbox.IsValid(); });
}

}  // namespace autoresponder
