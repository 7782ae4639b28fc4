#include "core/response_freq.h"

#include <cstdlib>

#include "core/database.h"
#include "core/mail_content.h"

namespace {

/// The first column of the first row; `when_null` for SQL NULL, `when_none` without a row.
std::string single_value(MYSQL* connection, const std::string& statement,
                         std::string_view when_null, std::string_view when_none) {
    QueryResult result = query_or_no_rows(connection, statement);
    return result.fetch() ? result.text(0, when_null) : std::string(when_none);
}

int number(const std::string& text) {
    return std::atoi(text.c_str());
}

void forget_earlier_days(MYSQL* connection, const std::string& rn_id) {
    query_or_no_rows(connection, "delete from resp_freq where rn_id=" + rn_id +
                                     " and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0");
}

/// Drops the senders that were added at the earliest time, possibly more than one.
void forget_oldest(MYSQL* connection, const std::string& rn_id) {
    const std::string oldest = single_value(
        connection, "select MIN(time_resp) from resp_freq where rn_id=" + rn_id, "0", "");
    query_or_no_rows(connection, "delete from resp_freq where rn_id=" + rn_id + " and time_resp='" +
                                     oldest + "'");
}

}  // namespace

int can_response_freq(st_mysql* connection, Mail_content* mail,
                      std::string rn_id,      // NOLINT(performance-unnecessary-value-param)
                      std::string ans_freq,   // NOLINT(performance-unnecessary-value-param)
                      std::string mem_limit)  // NOLINT(performance-unnecessary-value-param)
{
    forget_earlier_days(connection, rn_id);
    if (number(ans_freq) <= 0) {
        return 0;
    }
    const std::string remembered =
        single_value(connection, "select COUNT(*) from resp_freq where rn_id=" + rn_id, "0", "0");
    const std::string sender = escape_for_sql(connection, mail->from);
    const std::string this_sender = "where rn_id=" + rn_id + " and email='" + sender + "'";

    QueryResult known = query_or_no_rows(connection, "select num from resp_freq " + this_sender);
    if (known.fetch()) {
        const std::string num = known.text(0, "0");
        if (number(num) >= number(ans_freq)) {
            return 0;
        }
        query_or_no_rows(connection, "update resp_freq set num=" + num + "+1 " + this_sender);
        return 1;
    }
    if (number(remembered) >= number(mem_limit)) {
        forget_oldest(connection, rn_id);
    }
    query_or_no_rows(
        connection, "insert into resp_freq set rn_id=" + rn_id + ", email='" + sender + "', num=1");
    return 1;
}
