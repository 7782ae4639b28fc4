// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

#include <mimelib/mimepp.h>

namespace autoresponder {

/// Who sent a message, and so gets the reply.
struct Sender {
    enum class Field { kReplyTo, kFrom };

    std::string address;  ///< local part + "@" + domain, as written
    Field field;          ///< where it was found
};

/// The first usable mailbox of Reply-To:, or else of From:; null when neither field has one.
std::optional<Sender> find_sender(DwHeaders& headers);

/// The first address of a Reply-To: field that is valid and a mailbox, not a group; null when there
/// is none. The mailbox belongs to the list.
DwMailbox* GetMailboxFromAddressList(const DwAddressList& addresses);

/// The first valid mailbox of a From: field; null when there is none. It belongs to the list.
DwMailbox* GetMailboxFromMailboxList(const DwMailboxList& mailboxes);

}  // namespace autoresponder
