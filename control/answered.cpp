#include "control/answered.h"

#include <iostream>
#include <optional>
#include <vector>

#include "control/frequency.h"
#include "control/panel.h"
#include "control/terminal.h"
#include "core/database.h"
#include "core/responder_row.h"

namespace {

struct Responders {
    tolva::db::ConnectionHandle connection;
    std::vector<ResponderRow> rows;
};

Responders responders_of(const std::string& recipient) {
    Responders responders{.connection = connect_or_fail(), .rows = {}};
    MYSQL* connection = responders.connection.get();
    QueryResult rows = select_responders(connection, mailbox_or_fail(connection, recipient).id);
    while (rows.fetch()) {
        responders.rows.push_back(read_responder_row(rows));
    }
    return responders;
}

// Deletes what resp_freq holds of each responder: of `sender`, or of everybody if there is none.
void forget(const std::string& recipient, const std::optional<std::string>& sender) {
    const Responders responders = responders_of(recipient);
    MYSQL* connection = responders.connection.get();
    const std::string condition =
        sender ? " and email='" + escape_for_sql(connection, *sender) + "'" : "";
    for (const ResponderRow& responder : responders.rows) {
        rows_or_end_run(connection,
                        "delete from resp_freq where rn_id=" + responder.id + condition);
        std::cout << "responder " << responder.id << ": " << mysql_affected_rows(connection)
                  << " forgotten\n";
    }
}

}  // namespace

void list_answered(const std::string& recipient) {
    const Responders responders = responders_of(recipient);
    for (const ResponderRow& responder : responders.rows) {
        const auto senders = answered_today(responders.connection.get(), responder.id);
        std::cout << coloured("responder " + responder.id, Colour::kStrong)
                  << (is_on(responder) ? "" : ", which is off") << ": " << senders.size()
                  << (senders.size() == 1 ? " sender" : " senders")
                  << " answered today; replies allowed to each: " << printable(responder.ans_freq)
                  << "\n";
        for (const AnsweredSender& sender : senders) {
            std::cout << "  " << printable(sender.replies) << "  " << printable(sender.email)
                      << "  since " << printable(sender.since) << "\n";
        }
    }
}

void clear_answered(const std::string& recipient, const std::string& sender) {
    forget(recipient, sender);
}

void clear_all_answered(const std::string& recipient) {
    forget(recipient, std::nullopt);
}
