// SPDX-License-Identifier: Apache-2.0

#include "core/people/mailbox_addresses.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "core/message/header_fields.h"
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

}  // namespace

void MailboxAddresses::add_local_part(const std::string& local_part) {
    local_parts_.insert(tolva::lowered(local_part));
}

void MailboxAddresses::add_domain(const std::string& domain) {
    const std::string added = comparable(domain);
    has_international_ = has_international_ || added.find("xn--") != std::string::npos;
    domains_.insert(added);
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

std::vector<MailAddress> spellings(std::string_view text) {
    const auto address = AddressReader(text).next();
    if (!address) {
        return {};
    }
    std::vector<MailAddress> all = {*address};
    for (const auto convert : {tolva::idn::toAscii, tolva::idn::toUtf8}) {
        try {
            MailAddress other{address->local_part, convert(address->domain)};
            if (other != *address) {
                all.push_back(std::move(other));
            }
        } catch (const tolva::idn::IdnaError&) {
            continue;
        }
    }
    return all;
}

}  // namespace autoresponder
