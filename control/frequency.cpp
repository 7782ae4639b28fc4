#include "control/frequency.h"

#include <optional>

#include "core/database.h"

namespace {

// A row without a time is never deleted, so it counts.
std::string rows_of_today(const std::string& rn_id) {
    return " from resp_freq where rn_id=" + rn_id +
           " and ((TO_DAYS(NOW())-TO_DAYS(time_resp))>0) is not true";
}

std::optional<std::string> first_value(MYSQL* connection, const std::string& statement) {
    QueryResult rows = rows_or_end_run(connection, statement);
    return rows.fetch() ? std::optional(rows.text(0, "0")) : std::nullopt;
}

}  // namespace

FrequencyRecord frequency_today(MYSQL* connection, const std::string& rn_id,
                                const std::string& sender) {
    FrequencyRecord record;
    record.senders =
        first_value(connection, "select COUNT(*)" + rows_of_today(rn_id)).value_or("0");
    record.replies = first_value(connection, "select num" + rows_of_today(rn_id) + " and email='" +
                                                 escape_for_sql(connection, sender) + "'");
    return record;
}

std::vector<AnsweredSender> answered_today(MYSQL* connection, const std::string& rn_id) {
    std::vector<AnsweredSender> senders;
    QueryResult rows =
        rows_or_end_run(connection, "select email, num, time_resp" + rows_of_today(rn_id) +
                                        " order by time_resp, email");
    while (rows.fetch()) {
        senders.push_back(
            {.email = rows.text(0, ""), .replies = rows.text(1, "0"), .since = rows.text(2, "")});
    }
    return senders;
}
