// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "core/message/field_tokens.h"

namespace autoresponder {

/// An address as addresses are compared: ASCII letters in lower case, a quoted local part without
/// its quotes. Either part may be empty. Of a part only the first 1000 bytes are kept, several
/// times what mail systems take (RFC 5321, 4.5.3.1).
struct MailAddress {
    std::string local_part;
    std::string domain;

    auto operator<=>(const MailAddress&) const = default;
};

/// Divides an address without any syntax, as mail systems hand it over in the environment or in a
/// database: what stands before its last "@", and what follows it.
MailAddress bare_address(std::string_view text);

/// Reads the addresses of a field body such as To: (RFC 5322, 3.4 and 4.4) one by one, in time
/// proportional to its length: those of mailboxes and of the members of groups, wherever they stand
/// in the list. Display names, routes and comments are not addresses, even if they look like one. A
/// word without a domain is an address with an empty domain.
class AddressReader {
  public:
    explicit AddressReader(std::string_view body) : tokens_(body) {}

    /// The next address that has a local part; null when there is none.
    std::optional<MailAddress> next();

  private:
    FieldTokens tokens_;
};

}  // namespace autoresponder
