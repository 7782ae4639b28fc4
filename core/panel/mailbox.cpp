// SPDX-License-Identifier: Apache-2.0

#include "core/panel/mailbox.h"

#include <array>
#include <new>
#include <utility>

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/run/run_end.h"
#include "support/db.h"

namespace autoresponder {

namespace {

std::string escape(const std::string& text) {
    std::string escaped(2 * text.size() + 1, '\0');
    escaped.resize(mysql_escape_string(escaped.data(), text.data(), text.size()));
    return escaped;
}

}  // namespace

EscapedAddress escape_recipient(const Mail_content& mail) {
    // Escaping without a connection reads tables that the client library sets up when it starts.
    db_library_init();
    try {
        EscapedAddress recipient;
        recipient.domain = escape(mail.to_domain);
        recipient.mailname = escape(mail.to_mailname);
        return recipient;
    } catch (const std::bad_alloc&) {
        throw EndOfRun("autoresponder: Unable to alloc memory");
    }
}

EscapedAddress escape_address(const Session& session, const std::string& mailname,
                              const std::string& domain) {
    return {.domain = session.escape(domain), .mailname = session.escape(mailname)};
}

std::optional<Mailbox> find_mailbox(Session& session, const EscapedAddress& address) {
    const std::string& domain = address.domain;
    const std::string& mailname = address.mailname;
    const std::array<std::pair<Lookup, std::string>, 4> lookups = {{
        {Lookup::kOwnName,
         "select m.id, m.mail_name, d.name from mail m, domains d"
         " where m.dom_id=d.id and d.name='" +
             domain + "' and m.mail_name='" + mailname + "'"},

        {Lookup::kMailAlias,
         "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d"
         " where m.id=ma.mn_id and m.dom_id=d.id and d.name='" +
             domain + "' and ma.alias='" + mailname + "'"},

        {Lookup::kDomainAlias,
         "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da"
         " where m.dom_id=d.id and d.id=da.dom_id and da.name='" +
             domain + "' and m.mail_name='" + mailname + "' and da.mail='true'"},

        {Lookup::kBothAliases,
         "select m.id, m.mail_name, d.name"
         " from mail m, mail_aliases ma, domains d, domainaliases da"
         " where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='" +
             domain + "' and ma.alias='" + mailname + "' and da.mail='true'"},
    }};

    for (const auto& [lookup, statement] : lookups) {
        QueryResult rows = session.ask_or_end_run(statement, "autoresponder: Unable to query: ");
        if (rows.fetch()) {
            return Mailbox{rows.text(0, ""), rows.text(1, ""), rows.text(2, ""), lookup};
        }
    }
    return std::nullopt;
}

}  // namespace autoresponder
