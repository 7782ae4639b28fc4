#include "core/forward.h"

#include <cerrno>

#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "core/message_copy.h"

std::vector<std::string> forward_addresses(MYSQL* connection, const std::string& rn_id) {
    std::vector<std::string> addresses;
    QueryResult rows =
        rows_or_end_run(connection, "select address from resp_forward where rn_id=" + rn_id);
    while (rows.fetch()) {
        const auto address = rows.column(0);
        if (!address) {
            continue;
        }
        if (const char* objection = recipient_objection(*address)) {
            report("autoresponder: Not forwarded to '", on_one_line(*address), "': ", objection);
            continue;
        }
        addresses.emplace_back(*address);
    }
    return addresses;
}

void forward(st_mysql* connection, Mail_content* mail,
             std::string rn_id)  // NOLINT(performance-unnecessary-value-param)
{
    const std::vector<std::string> addresses = forward_addresses(connection, rn_id);
    if (addresses.empty()) {
        return;
    }
    tolva::Descriptor message = MessageCopy::open();
    if (!message) {
        report("autoresponder: Failed to open temporary file with forward mail contents '",
               MessageCopy::name(), "': ", error_text(errno));
        return;
    }
    if (const int error = MessageCopy::cut_short_by()) {
        report("autoresponder: The copy of the message is cut short and is forwarded so: ",
               error_text(error));
    }
    if (const int error = submit_file(std::move(message), mail->to, addresses)) {
        report("autoresponder: Failed to spawn sendmail for forwarding: ", error_text(error));
    }
}
