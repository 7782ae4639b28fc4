#pragma once

#include <string>

#include "support/db.h"

struct Mail_content;

/// A mailbox of the panel under its own name, whatever alias the message was sent to.
struct Mailbox {
    std::string id;
    std::string name;  ///< local part
    std::string domain;
};

/// The two halves of the recipient's address, escaped for SQL string literals.
struct EscapedRecipient {
    std::string domain;
    std::string mailname;
};

/// Escapes the recipient's address without a connection; ends the run if there is no memory for it.
EscapedRecipient escape_recipient(const Mail_content& mail);

/// Finds the recipient's mailbox: by its own name, else by a mail alias, else by an alias of the
/// domain, else by both. Ends the run when there is none or a query fails.
Mailbox resolve_mailbox(MYSQL* connection, const EscapedRecipient& recipient,
                        const Mail_content& mail);

/// The directory in which the mailbox's attachments lie.
std::string attachment_directory(const Mailbox& mailbox);
