#pragma once

#include <optional>
#include <string>

#include "support/db.h"

class HeaderFields;
struct Mail_content;
struct Mailbox;

/// Telling mail that is meant for a mailbox from other mail by what the panel knows of the mailbox.
/// The rules and where they come from: docs/whom-it-answers.md.

/// Why `mail` is not taken for one person's to `mailbox`, as the end of a message about it; null
/// when no rule speaks. The sender may be the mailbox under any of its names, and none of its
/// addresses may stand in the header, as in mail that came by way of a list or of Bcc.
///
/// Only asks the database. Throws EndOfRun if a statement fails.
std::optional<std::string> impersonal_reason(MYSQL* connection, const Mail_content& mail,
                                             const Mailbox& mailbox, const HeaderFields& header);
