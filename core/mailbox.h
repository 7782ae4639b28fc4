#pragma once

#include <optional>
#include <string>

#include "support/db.h"

struct Mail_content;
class EndOfRun;

/// How an address leads to a mailbox, in the order in which the ways are tried.
enum class Lookup { kOwnName, kMailAlias, kDomainAlias, kBothAliases };

/// A mailbox of the panel under its own name, whatever alias the message was sent to.
struct Mailbox {
    std::string id;
    std::string name;  ///< local part
    std::string domain;
    Lookup found_by = Lookup::kOwnName;
};

/// The two halves of an address, escaped for SQL string literals.
struct EscapedAddress {
    std::string domain;
    std::string mailname;
};

/// Escapes the recipient's address with backslashes, for which no connection is needed. Throws
/// EndOfRun if there is no memory for it.
EscapedAddress escape_recipient(const Mail_content& mail);

/// Escapes the recipient's address anew where the connection's session is in a mode in which a
/// backslash escapes nothing (NO_BACKSLASH_ESCAPES). Throws std::bad_alloc.
void adapt_to_session(EscapedAddress& recipient, MYSQL* connection, const Mail_content& mail);

/// Escapes an address for this connection's session. Throws std::bad_alloc.
EscapedAddress escape_address(MYSQL* connection, const std::string& mailname,
                              const std::string& domain);

/// Finds the mailbox that an address leads to: by its own name, else by a mail alias, else by an
/// alias of the domain, else by both; null when there is none. Throws EndOfRun if a statement
/// fails.
std::optional<Mailbox> find_mailbox(MYSQL* connection, const EscapedAddress& address);

/// How a run ends whose recipient has no mailbox.
EndOfRun mailbox_not_found(const Mail_content& mail);
