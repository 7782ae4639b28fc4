#include "core/sender.h"

const DwMailbox* find_sender(DwHeaders& headers) {
    const DwMailbox* sender = nullptr;
    if (headers.HasReplyTo()) {
        sender = GetMailboxFromAddressList(headers.ReplyTo());
    }
    if (sender == nullptr && headers.HasFrom()) {
        sender = GetMailboxFromMailboxList(headers.From());
    }
    return sender;
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
