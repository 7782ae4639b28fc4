// SPDX-License-Identifier: Apache-2.0

#include "core/people/recipient_check.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "core/message/header_fields.h"
#include "core/message/mail_address.h"
#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"
#include "encoding/idn.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr std::array<std::string_view, 4> kRecipientFields = {"To", "Cc", "Resent-To", "Resent-Cc"};

bool names_recipients(const HeaderField& field) {
    return std::ranges::any_of(kRecipientFields, [&field](std::string_view name) {
        return tolva::equals_ignoring_case(field.name, name);
    });
}

// The form in which domains compare.
std::string comparable(const std::string& domain) {
    constexpr std::size_t longest_domain = 255;  // RFC 1035, 2.3.4; beyond it there is none to find
    if (tolva::is_ascii(domain) || domain.size() > longest_domain) {
        return tolva::lowered(domain);
    }
    try {
        return tolva::idn::toAscii(domain);
    } catch (const tolva::idn::IdnaError&) {
        return tolva::lowered(domain);
    }
}

// The domain as it is written and in the other form of internationalised domains, if it has one:
// the panel may hold either.
std::vector<std::string> spellings(const std::string& domain) {
    std::vector<std::string> all = {domain};
    for (const auto convert : {tolva::idn::toAscii, tolva::idn::toUtf8}) {
        try {
            std::string other = convert(domain);
            if (other != domain) {
                all.push_back(std::move(other));
            }
        } catch (const tolva::idn::IdnaError&) {
            continue;
        }
    }
    return all;
}

bool leads_to(const MailAddress& address, Session& session, const Mailbox& mailbox) {
    for (const std::string& domain : spellings(address.domain)) {
        const auto found =
            find_mailbox(session, escape_address(session, address.local_part, domain));
        if (found) {
            return found->id == mailbox.id;
        }
    }
    return false;
}

}  // namespace

std::optional<std::string> impersonal_reason(Session& session, const Mail_content& mail,
                                             const Mailbox& mailbox, const HeaderFields& header) {
    const auto sender = AddressReader(mail.from).next();
    if (sender && leads_to(*sender, session, mailbox)) {
        return "sender is the mailbox itself";
    }
    MailboxAddresses addresses(mail);
    if (addresses.stand_in(header)) {
        return std::nullopt;
    }
    addresses.add_those_of(session, mailbox);
    if (addresses.stand_in(header)) {
        return std::nullopt;
    }
    return "recipient in neither To: nor Cc:";
}

MailboxAddresses::MailboxAddresses(const Mail_content& mail) {
    add_local_part(mail.to_mailname);
    add_domain(mail.to_domain);
}

void MailboxAddresses::add_local_part(const std::string& local_part) {
    local_parts_.insert(tolva::lowered(local_part));
}

void MailboxAddresses::add_domain(const std::string& domain) {
    const std::string added = comparable(domain);
    has_international_ = has_international_ || added.find("xn--") != std::string::npos;
    domains_.insert(added);
}

void MailboxAddresses::add_those_of(Session& session, const Mailbox& mailbox) {
    add_local_part(mailbox.name);
    add_domain(mailbox.domain);
    QueryResult aliases =
        session.ask_or_end_run("select alias from mail_aliases where mn_id=" + mailbox.id);
    while (aliases.fetch()) {
        add_local_part(aliases.text(0, ""));
    }
    QueryResult domains = session.ask_or_end_run(
        "select da.name from domainaliases da, mail m"
        " where da.dom_id=m.dom_id and da.mail='true' and m.id=" +
        mailbox.id);
    while (domains.fetch()) {
        add_domain(domains.text(0, ""));
    }
}

bool MailboxAddresses::contain(const MailAddress& address) const {
    // A stranger's list may be long, and converting a domain is expensive.
    return local_parts_.contains(address.local_part) &&
           domains_.contains(has_international_ ? comparable(address.domain) : address.domain);
}

bool MailboxAddresses::stand_in(const HeaderFields& header) const {
    for (const HeaderField& field : header) {
        if (!names_recipients(field)) {
            continue;
        }
        AddressReader addresses(field.body);
        while (const auto address = addresses.next()) {
            if (contain(*address)) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace autoresponder
