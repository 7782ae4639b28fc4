#include "core/mailbox_addresses.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "core/database.h"
#include "core/header_fields.h"
#include "core/letter_case.h"
#include "core/mail_address.h"
#include "core/mail_content.h"
#include "core/mailbox.h"
#include "encoding/idn.h"

namespace {

constexpr std::array<std::string_view, 4> kRecipientFields = {"To", "Cc", "Resent-To", "Resent-Cc"};

bool names_recipients(const HeaderField& field) {
    return std::ranges::any_of(kRecipientFields, [&field](std::string_view name) {
        return equals_ignoring_case(field.name, name);
    });
}

bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The form in which domains compare.
std::string comparable(const std::string& domain) {
    constexpr std::size_t longest_domain = 255;  // RFC 1035, 2.3.4; beyond it there is none to find
    if (is_ascii(domain) || domain.size() > longest_domain) {
        return lowered(domain);
    }
    try {
        return tolva::idn::toAscii(domain);
    } catch (const tolva::idn::IdnaError&) {
        return lowered(domain);
    }
}

}  // namespace

MailboxAddresses::MailboxAddresses(const Mail_content& mail) {
    add_local_part(mail.to_mailname);
    add_domain(mail.to_domain);
}

void MailboxAddresses::add_local_part(const std::string& local_part) {
    local_parts_.insert(lowered(local_part));
}

void MailboxAddresses::add_domain(const std::string& domain) {
    const std::string added = comparable(domain);
    has_international_ = has_international_ || added.find("xn--") != std::string::npos;
    domains_.insert(added);
}

void MailboxAddresses::add_those_of(MYSQL* connection, const Mailbox& mailbox) {
    add_local_part(mailbox.name);
    add_domain(mailbox.domain);
    QueryResult aliases =
        rows_or_end_run(connection, "select alias from mail_aliases where mn_id=" + mailbox.id);
    while (aliases.fetch()) {
        add_local_part(aliases.text(0, ""));
    }
    QueryResult domains = rows_or_end_run(connection,
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
