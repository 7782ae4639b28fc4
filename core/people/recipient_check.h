// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/message/mail_address.h"

/// Tells mail that is meant for a mailbox from other mail by what the panel knows about the
/// mailbox. The rules and their sources: docs/whom-it-answers.md.
namespace autoresponder {

class Session;
struct Mail_content;
struct Mailbox;

/// The names of a mailbox, as the panel has them: it receives mail for each of the local parts at
/// each of the domains.
struct MailboxNames {
    std::vector<std::string> local_parts;
    std::vector<std::string> domains;
};

/// Why `mail` is not taken for one person's to `mailbox`, as the end of a message about it; null if
/// no rule applies. The rules: the sender is the mailbox, under any of its names; or none of its
/// addresses stands in the header, as in mail that came through a list or by Bcc.
///
/// `sender` is the sender's address in all its spellings (core/people/mailbox_addresses.h).
/// `stand_in_header` tells whether one of the addresses stands in the header. Only reads from the
/// database. Throws EndOfRun if a statement fails.
std::optional<std::string> impersonal_reason(
    Session& session, const Mail_content& mail, const Mailbox& mailbox,
    const std::vector<MailAddress>& sender,
    const std::function<bool(const MailboxNames&)>& stand_in_header);

}  // namespace autoresponder
