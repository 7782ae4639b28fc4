// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

namespace autoresponder {

class Session;
struct Mail_content;

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

/// Escapes an address for this session. Throws std::bad_alloc.
EscapedAddress escape_address(const Session& session, const std::string& mailname,
                              const std::string& domain);

/// Finds the mailbox that an address leads to: by its own name, else by a mail alias, else by an
/// alias of the domain, else by both; null when there is none. Throws EndOfRun if a statement
/// fails.
std::optional<Mailbox> find_mailbox(Session& session, const EscapedAddress& address);

}  // namespace autoresponder
