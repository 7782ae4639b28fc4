#include "control/panel.h"

#include <array>

#include "control/failure.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"

tolva::db::ConnectionHandle connect_or_fail() {
    std::array<char, 4097> reason{};
    tolva::db::ConnectionHandle connection(tolva_db_connect(reason.data(), reason.size()));
    if (!connection) {
        throw Failure(reason.data());
    }
    return connection;
}

Mailbox mailbox_or_fail(MYSQL* connection, const std::string& address) {
    Mail_content mail;
    set_recipient(mail, address);
    EscapedAddress escaped = escape_recipient(mail);
    adapt_to_session(escaped, connection, mail);
    const std::optional<Mailbox> mailbox = find_mailbox(connection, escaped);
    if (!mailbox) {
        throw Failure("there is no mailbox " + on_one_line(address));
    }
    return *mailbox;
}
