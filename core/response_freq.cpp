#include "core/response_freq.h"

#include <cstdlib>

#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/run_end.h"

namespace {

int number(const std::string& text) {
    return std::atoi(text.c_str());
}

// Sends the statement. Rows that cannot be read count as none, with a line on standard error.
QueryResult rows_or_none(MYSQL* connection, const std::string& statement) {
    QueryResult result = send_statement(connection, statement);
    if (result.outcome() == QueryResult::Outcome::kRefused) {
        throw EndOfRun(std::string(kStatementFailed) + result.reason());
    }
    if (result.outcome() == QueryResult::Outcome::kUnreadable) {
        report("autoresponder: Unable to read the rows of a query: ", result.reason());
    }
    return result;
}

// The first column of the first row, with "0" for SQL NULL; nothing without a row.
std::optional<std::string> single_value(MYSQL* connection, const std::string& statement) {
    QueryResult rows = rows_or_none(connection, statement);
    return rows.fetch() ? std::optional(rows.text(0, "0")) : std::nullopt;
}

void forget_earlier_days(MYSQL* connection, const std::string& rn_id) {
    rows_or_none(connection, "delete from resp_freq where rn_id=" + rn_id +
                                 " and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0");
}

FrequencyRecord look_up(MYSQL* connection, const std::string& rn_id, const std::string& email) {
    const auto senders =
        single_value(connection, "select COUNT(*) from resp_freq where rn_id=" + rn_id);
    const auto replies = single_value(connection, "select num from resp_freq where rn_id=" + rn_id +
                                                      " and email='" + email + "'");
    return {senders.value_or("0"), replies};
}

void count_one_more(MYSQL* connection, const std::string& rn_id, const std::string& email,
                    const std::string& replies) {
    rows_or_none(connection, "update resp_freq set num=" + replies + "+1 where rn_id=" + rn_id +
                                 " and email='" + email + "'");
}

// Drops the senders that were added at the earliest time, possibly more than one.
void forget_oldest(MYSQL* connection, const std::string& rn_id) {
    const auto oldest =
        single_value(connection, "select MIN(time_resp) from resp_freq where rn_id=" + rn_id);
    rows_or_none(connection, "delete from resp_freq where rn_id=" + rn_id + " and time_resp='" +
                                 oldest.value_or("") + "'");
}

void remember(MYSQL* connection, const std::string& rn_id, const std::string& email) {
    rows_or_none(connection,
                 "insert into resp_freq set rn_id=" + rn_id + ", email='" + email + "', num=1");
}

}  // namespace

bool never_answers(const std::string& ans_freq) {
    return number(ans_freq) <= 0;
}

FrequencyVerdict judge_frequency(const FrequencyRecord& record, const std::string& ans_freq,
                                 const std::string& mem_limit) {
    if (record.replies) {
        return number(*record.replies) < number(ans_freq) ? FrequencyVerdict::kAnswerAgain
                                                          : FrequencyVerdict::kLimitReached;
    }
    return number(record.senders) < number(mem_limit) ? FrequencyVerdict::kAnswerFirst
                                                      : FrequencyVerdict::kAnswerFirstEvict;
}

int can_response_freq(st_mysql* connection, Mail_content* mail,
                      std::string rn_id,      // NOLINT(performance-unnecessary-value-param)
                      std::string ans_freq,   // NOLINT(performance-unnecessary-value-param)
                      std::string mem_limit)  // NOLINT(performance-unnecessary-value-param)
{
    forget_earlier_days(connection, rn_id);
    if (never_answers(ans_freq)) {
        return 0;
    }
    const std::string email = escape_for_sql(connection, mail->from);
    const FrequencyRecord record = look_up(connection, rn_id, email);
    switch (judge_frequency(record, ans_freq, mem_limit)) {
        case FrequencyVerdict::kLimitReached:
            return 0;
        case FrequencyVerdict::kAnswerAgain:
            count_one_more(connection, rn_id, email, *record.replies);
            return 1;
        case FrequencyVerdict::kAnswerFirstEvict:
            forget_oldest(connection, rn_id);
            break;
        case FrequencyVerdict::kAnswerFirst:
            break;
    }
    remember(connection, rn_id, email);
    return 1;
}
