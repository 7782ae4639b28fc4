#include "core/mailbox.h"

#include <array>
#include <new>

#include "core/database.h"
#include "core/mail_content.h"
#include "core/run_end.h"
#include "support/conf.h"
#include "support/conf_variables.h"

namespace {

std::string escape(const std::string& text) {
    std::string escaped(2 * text.size() + 1, '\0');
    escaped.resize(mysql_escape_string(escaped.data(), text.data(), text.size()));
    return escaped;
}

}  // namespace

EscapedRecipient escape_recipient(const Mail_content& mail) {
    // Escaping without a connection reads tables that the client library sets up when it starts.
    db_library_init();
    try {
        EscapedRecipient recipient;
        recipient.domain = escape(mail.to_domain);
        recipient.mailname = escape(mail.to_mailname);
        return recipient;
    } catch (const std::bad_alloc&) {
        end_run("autoresponder: Unable to alloc memory");
    }
}

Mailbox resolve_mailbox(MYSQL* connection, const EscapedRecipient& recipient,
                        const Mail_content& mail) {
    const std::string& domain = recipient.domain;
    const std::string& mailname = recipient.mailname;
    const std::array statements = {
        "select m.id, m.mail_name, d.name from mail m, domains d"
        " where m.dom_id=d.id and d.name='" +
            domain + "' and m.mail_name='" + mailname + "'",

        "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d"
        " where m.id=ma.mn_id and m.dom_id=d.id and d.name='" +
            domain + "' and ma.alias='" + mailname + "'",

        "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da"
        " where m.dom_id=d.id and d.id=da.dom_id and da.name='" +
            domain + "' and m.mail_name='" + mailname + "' and da.mail='true'",

        "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da"
        " where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='" +
            domain + "' and ma.alias='" + mailname + "' and da.mail='true'"};

    for (const std::string& statement : statements) {
        QueryResult result = query(connection, statement, "autoresponder: Unable to query: ");
        if (result.fetch()) {
            return {result.text(0, ""), result.text(1, ""), result.text(2, "")};
        }
    }
    end_run("autoresponder: Mailname not found: " + mail.to_mailname + "@" + mail.to_domain);
}

std::string attachment_directory(const Mailbox& mailbox) {
    return std::string(tvaConfGetDefaultByIndex(TOLVA_MAILNAMES_D)) + "/" + mailbox.domain + "/" +
           mailbox.name + "/@attachments";
}
