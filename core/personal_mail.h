#pragma once

#include <optional>
#include <string>

#include "support/db.h"

class HeaderFields;
struct Mail_content;
struct Mailbox;

/// Tells mail that is meant for a mailbox from other mail by what the panel knows about the
/// mailbox. The rules and their sources: docs/whom-it-answers.md.

/// Why `mail` is not taken for one person's to `mailbox`, as the end of a message about it; null if
/// no rule applies. The rules: the sender is the mailbox, under any of its names; or none of its
/// addresses stands in the header, as in mail that came through a list or by Bcc.
///
/// Only reads from the database. Throws EndOfRun if a statement fails.
std::optional<std::string> impersonal_reason(MYSQL* connection, const Mail_content& mail,
                                             const Mailbox& mailbox, const HeaderFields& header);
