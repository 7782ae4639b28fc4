// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <set>
#include <string>

/// Tells mail that is meant for a mailbox from other mail by what the panel knows about the
/// mailbox. The rules and their sources: docs/whom-it-answers.md.
namespace autoresponder {

class HeaderFields;
class Session;
struct MailAddress;
struct Mail_content;
struct Mailbox;

/// Why `mail` is not taken for one person's to `mailbox`, as the end of a message about it; null if
/// no rule applies. The rules: the sender is the mailbox, under any of its names; or none of its
/// addresses stands in the header, as in mail that came through a list or by Bcc.
///
/// Only reads from the database. Throws EndOfRun if a statement fails.
std::optional<std::string> impersonal_reason(Session& session, const Mail_content& mail,
                                             const Mailbox& mailbox, const HeaderFields& header);

/// Addresses of a mailbox: every one of its local parts at every one of its domains. They compare
/// without regard to letter case and to the form in which an internationalised domain is written.
class MailboxAddresses {
  public:
    /// Starts with the one that the message was sent to.
    explicit MailboxAddresses(const Mail_content& mail);

    /// Adds all that the panel knows of the mailbox: its name and its mail aliases, its domain and
    /// those domain aliases that are enabled for mail. Throws EndOfRun if a statement fails.
    void add_those_of(Session& session, const Mailbox& mailbox);

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

}  // namespace autoresponder
