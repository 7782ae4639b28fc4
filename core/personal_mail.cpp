#include "core/personal_mail.h"

#include <vector>

#include "core/header_fields.h"
#include "core/mail_address.h"
#include "core/mail_content.h"
#include "core/mailbox.h"
#include "core/mailbox_addresses.h"
#include "encoding/idn.h"

namespace {

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

bool leads_to(const MailAddress& address, MYSQL* connection, const Mailbox& mailbox) {
    for (const std::string& domain : spellings(address.domain)) {
        const auto found =
            find_mailbox(connection, escape_address(connection, address.local_part, domain));
        if (found) {
            return found->id == mailbox.id;
        }
    }
    return false;
}

// Whether an address of the mailbox stands in the header. The panel is asked for further ones only
// if the known one does not.
bool is_addressed(MYSQL* connection, const Mail_content& mail, const Mailbox& mailbox,
                  const HeaderFields& header) {
    MailboxAddresses addresses(mail);
    if (addresses.stand_in(header)) {
        return true;
    }
    addresses.add_those_of(connection, mailbox);
    return addresses.stand_in(header);
}

}  // namespace

std::optional<std::string> impersonal_reason(MYSQL* connection, const Mail_content& mail,
                                             const Mailbox& mailbox, const HeaderFields& header) {
    const auto sender = AddressReader(mail.from).next();
    if (sender && leads_to(*sender, connection, mailbox)) {
        return "sender is the mailbox itself";
    }
    if (!is_addressed(connection, mail, mailbox, header)) {
        return "recipient in neither To: nor Cc:";
    }
    return std::nullopt;
}
