// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/message/mail_address.h"

namespace autoresponder {

class HeaderFields;

/// Addresses of a mailbox: every one of its local parts at every one of its domains. They compare
/// without regard to letter case and to the form in which an internationalised domain is written.
class MailboxAddresses {
  public:
    /// What is added here is compared in the form that is written there.
    void add_local_part(const std::string& local_part);
    void add_domain(const std::string& domain);

    [[nodiscard]] bool contain(const MailAddress& address) const;

    /// Whether one of them stands in To, Cc, Resent-To or Resent-Cc.
    [[nodiscard]] bool stand_in(const HeaderFields& header) const;

  private:
    std::set<std::string> local_parts_;
    std::set<std::string> domains_;
    bool has_international_ = false;  // domain
};

/// The first address in `text`, as it is written and with its domain in the other form of
/// internationalised domains, if it has one; none if `text` contains no address. The panel may hold
/// either.
std::vector<MailAddress> spellings(std::string_view text);

}  // namespace autoresponder
