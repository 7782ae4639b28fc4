// SPDX-License-Identifier: Apache-2.0

#include "core/message/sender.h"

#include "core/message/dw_string.h"

namespace autoresponder {

namespace {

std::string address_of(const DwMailbox& mailbox) {
    return to_string(mailbox.LocalPart()) + "@" + to_string(mailbox.Domain());
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
    for (DwAddress* address = addresses.FirstAddress(); address != nullptr;
         address = address->Next()) {
        if (address->IsValid() && !address->IsGroup() && address->IsMailbox()) {
            return static_cast<DwMailbox*>(address);
        }
    }
    return nullptr;
}

DwMailbox* GetMailboxFromMailboxList(const DwMailboxList& mailboxes) {
    for (DwAddress* mailbox = mailboxes.FirstMailbox(); mailbox != nullptr;
         mailbox = mailbox->Next()) {
        if (mailbox->IsValid()) {
            return static_cast<DwMailbox*>(mailbox);
        }
    }
    return nullptr;
}

}  // namespace autoresponder
