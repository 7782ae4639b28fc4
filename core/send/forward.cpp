// SPDX-License-Identifier: Apache-2.0

#include "core/send/forward.h"

#include <utility>

#include "core/message/mail_content.h"
#include "core/message/message_copy.h"
#include "core/panel/database_session.h"
#include "core/run/diagnostics.h"
#include "core/run/temporary_files.h"
#include "core/send/mail_program.h"
#include "support/ascii.h"
#include "support/descriptor.h"

namespace autoresponder {

std::vector<std::string> forward_addresses(Session& session, const std::string& rn_id) {
    std::vector<std::string> addresses;
    QueryResult rows =
        session.ask_or_end_run("select address from resp_forward where rn_id=" + rn_id);
    while (rows.fetch()) {
        const auto address = rows.column(0);
        if (!address) {
            continue;
        }
        if (const char* objection = recipient_objection(*address)) {
            report("autoresponder: Not forwarded to '", tolva::without_control_characters(*address),
                   "': ", objection);
            continue;
        }
        addresses.emplace_back(*address);
    }
    return addresses;
}

int send_copy(const std::string& sender, const std::vector<std::string>& addresses,
              tolva::Result<void> whole) {
    tolva::Result<tolva::Descriptor> message = MessageCopy::open();
    if (!message) {
        report("autoresponder: Failed to open temporary file with forward mail contents '",
               mail_file_name, "': ", error_text(message.error()));
        return 0;
    }
    if (!whole) {
        report("autoresponder: The copy of the message is cut short and is forwarded so: ",
               error_text(whole.error()));
    }
    const tolva::Result<int> sent = submit_file(std::move(*message), sender, addresses);
    if (!sent) {
        report("autoresponder: Failed to spawn sendmail for forwarding: ",
               error_text(sent.error()));
        return 0;
    }
    return *sent;
}

void forward(st_mysql* connection, Mail_content* mail,
             std::string rn_id)  // NOLINT(performance-unnecessary-value-param)
{
    Session session(connection);
    const std::vector<std::string> addresses = forward_addresses(session, rn_id);
    if (!addresses.empty()) {
        send_copy(mail->to, addresses, {});
    }
}

}  // namespace autoresponder
