// SPDX-License-Identifier: Apache-2.0

#include "core/people/recipient_check.h"

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"

namespace autoresponder {

namespace {

// Whether the first of the spellings that leads to a mailbox leads to this one.
bool lead_to(const std::vector<MailAddress>& spellings, Session& session, const Mailbox& mailbox) {
    for (const MailAddress& address : spellings) {
        const auto found =
            find_mailbox(session, escape_address(session, address.local_part, address.domain));
        if (found) {
            return found->id == mailbox.id;
        }
    }
    return false;
}

// Adds all that the panel knows of the mailbox: its name and its mail aliases, its domain and those
// domain aliases that are enabled for mail.
void add_names(MailboxNames& names, Session& session, const Mailbox& mailbox) {
    names.local_parts.push_back(mailbox.name);
    names.domains.push_back(mailbox.domain);
    QueryResult aliases =
        session.ask_or_end_run("select alias from mail_aliases where mn_id=" + mailbox.id);
    while (aliases.fetch()) {
        names.local_parts.push_back(aliases.text(0, ""));
    }
    QueryResult domains = session.ask_or_end_run(
        "select da.name from domainaliases da, mail m"
        " where da.dom_id=m.dom_id and da.mail='true' and m.id=" +
        mailbox.id);
    while (domains.fetch()) {
        names.domains.push_back(domains.text(0, ""));
    }
}

}  // namespace

std::optional<std::string> impersonal_reason(
    Session& session, const Mail_content& mail, const Mailbox& mailbox,
    const std::vector<MailAddress>& sender,
    const std::function<bool(const MailboxNames&)>& stand_in_header) {
    if (lead_to(sender, session, mailbox)) {
        return "sender is the mailbox itself";
    }
    MailboxNames names{.local_parts = {mail.to_mailname}, .domains = {mail.to_domain}};
    if (stand_in_header(names)) {
        return std::nullopt;
    }
    add_names(names, session, mailbox);
    if (stand_in_header(names)) {
        return std::nullopt;
    }
    return "recipient in neither To: nor Cc:";
}

}  // namespace autoresponder
