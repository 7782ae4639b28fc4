// SPDX-License-Identifier: Apache-2.0

#include "control/panel.h"

#include <array>
#include <optional>
#include <utility>

#include "control/failure.h"
#include "core/message/mail_content.h"
#include "support/ascii.h"
#include "support/db.h"
#include "support/db_handle.h"

namespace autoresponder::control {

Session connect_or_fail() {
    std::array<char, 4097> reason{};
    tolva::db::ConnectionHandle connection(tolva_db_connect(reason.data(), reason.size()));
    if (!connection) {
        throw Failure(reason.data());
    }
    return Session(std::move(connection));
}

Mailbox mailbox_or_fail(Session& session, const std::string& address) {
    Mail_content mail;
    set_recipient(mail, address);
    const std::optional<Mailbox> mailbox =
        find_mailbox(session, escape_address(session, mail.to_mailname, mail.to_domain));
    if (!mailbox) {
        throw Failure("there is no mailbox " + tolva::without_control_characters(address));
    }
    return *mailbox;
}

}  // namespace autoresponder::control
