#pragma once

#include <set>
#include <string>

#include "support/db.h"

class HeaderFields;
struct MailAddress;
struct Mail_content;
struct Mailbox;

/// Addresses of a mailbox: every one of its local parts at every one of its domains. They compare
/// without regard to letter case and to the form in which an internationalised domain is written.
class MailboxAddresses {
  public:
    /// Starts with the one that the message was sent to.
    explicit MailboxAddresses(const Mail_content& mail);

    /// Adds all that the panel knows of the mailbox: its name and its mail aliases, its domain and
    /// those domain aliases that are enabled for mail. Throws EndOfRun if a statement fails.
    void add_those_of(MYSQL* connection, const Mailbox& mailbox);

    [[nodiscard]] bool contain(const MailAddress& address) const;

    /// Whether one of them stands in To, Cc, Resent-To or Resent-Cc.
    [[nodiscard]] bool stand_in(const HeaderFields& header) const;

  private:
    void add_local_part(const std::string& local_part);
    void add_domain(const std::string& domain);

    std::set<std::string> local_parts_;
    std::set<std::string> domains_;
    bool has_international_ = false;  // domain
};
