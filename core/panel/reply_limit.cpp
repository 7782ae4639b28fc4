// SPDX-License-Identifier: Apache-2.0

#include "core/panel/reply_limit.h"

#include <mysql.h>

#include <utility>

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/run/diagnostics.h"
#include "core/run/run_end.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

constexpr char kOfEarlierDay[] = "(TO_DAYS(NOW())-TO_DAYS(time_resp))>0";

// A row without a time is never deleted, so it counts.
std::string and_not_of_earlier_day() {
    return std::string(" and (") + kOfEarlierDay + ") is not true";
}

// Rows that cannot be read count as none, with a line on standard error.
QueryResult rows_or_none(QueryResult result) {
    if (result.outcome() == QueryResult::Outcome::kRefused) {
        throw EndOfRun(std::string(Session::kStatementFailed) + result.reason());
    }
    if (result.outcome() == QueryResult::Outcome::kUnreadable) {
        report("autoresponder: Unable to read the rows of a query: ", result.reason());
    }
    return result;
}

// The statements about one responder and one sender.
class FrequencyTable {
  public:
    FrequencyTable(Session& session, const std::string& rn_id) : session_(session), rn_id_(rn_id) {}

    void forget_earlier_days() {
        change("delete from resp_freq where rn_id=" + rn_id_ + " and " + kOfEarlierDay,
               Repeat::kAllowed);
    }

    // `email` is escaped.
    FrequencyRecord look_up(const std::string& email, Counting counting) {
        // Where replies are counted, rows of earlier days have just been deleted.
        const std::string condition = counting == Counting::kCount ? "" : and_not_of_earlier_day();
        const auto senders =
            value("select COUNT(*) from resp_freq where rn_id=" + rn_id_ + condition);
        auto replies = value("select num from resp_freq where rn_id=" + rn_id_ + " and email='" +
                             email + "'" + condition);
        return {senders.value_or(PanelNumber()), std::move(replies)};
    }

    void count_one_more(const std::string& email, const PanelNumber& replies) {
        change("update resp_freq set num=" + replies.text + "+1 where rn_id=" + rn_id_ +
                   " and email='" + email + "'",
               Repeat::kAllowed);
    }

    // Drops the senders that were added at the earliest time, possibly more than one.
    void forget_oldest() {
        const auto oldest = value("select MIN(time_resp) from resp_freq where rn_id=" + rn_id_);
        change("delete from resp_freq where rn_id=" + rn_id_ + " and time_resp='" +
                   (oldest ? oldest->text : "") + "'",
               Repeat::kAllowed);
    }

    void remember(const std::string& email) {
        change("insert into resp_freq set rn_id=" + rn_id_ + ", email='" + email + "', num=1",
               Repeat::kForbidden);
    }

  private:
    // The first column of the first row, with "0" for SQL NULL; null without a row.
    std::optional<PanelNumber> value(const std::string& statement) {
        QueryResult rows = rows_or_none(session_.ask(statement));
        return rows.fetch() ? std::optional(PanelNumber(rows.text(0, "0"))) : std::nullopt;
    }

    void change(const std::string& statement, Repeat repeat) {
        rows_or_none(session_.change(statement, repeat));
    }

    Session& session_;
    const std::string& rn_id_;
};

// Whether the limits allow one more reply. No number stands for "unlimited".
LimitDecision decide(FrequencyRecord record, const ResponderRow& responder) {
    LimitDecision decision;
    if (!record.replies) {
        decision.evicts = record.senders.value >= responder.mem_limit.value;
    } else if (record.replies->value >= responder.ans_freq.value) {
        decision.refusal = "the limit is reached: " + record.replies->text + " of " +
                           responder.ans_freq.text + " replies to this sender today";
    }
    decision.record = std::move(record);
    return decision;
}

void count(FrequencyTable& table, const std::string& email, const LimitDecision& decision) {
    if (decision.record->replies) {
        table.count_one_more(email, *decision.record->replies);
        return;
    }
    if (decision.evicts) {
        table.forget_oldest();
    }
    table.remember(email);
}

}  // namespace

LimitDecision check_limit(Session& session, const ResponderRow& responder,
                          const std::string& sender, Counting counting) {
    FrequencyTable table(session, responder.id);
    if (counting == Counting::kCount) {
        table.forget_earlier_days();
    }
    if (responder.ans_freq.value <= 0) {
        return {.refusal = "it allows no replies at all: ans_freq is '" +
                           tolva::without_control_characters(responder.ans_freq.text) + "'"};
    }
    // Up to a zero byte, as the panel's other tools read addresses.
    const std::string email = session.escape(sender.c_str());
    LimitDecision decision = decide(table.look_up(email, counting), responder);
    if (counting == Counting::kCount && !decision.refusal) {
        count(table, email, decision);
    }
    return decision;
}

int can_response_freq(st_mysql* connection, Mail_content* mail, std::string rn_id,
                      std::string ans_freq, std::string mem_limit) {
    Session session(connection);
    const ResponderRow responder{.id = std::move(rn_id),
                                 .ans_freq = PanelNumber(std::move(ans_freq)),
                                 .mem_limit = PanelNumber(std::move(mem_limit))};
    return check_limit(session, responder, mail->from, Counting::kCount).refusal ? 0 : 1;
}

std::vector<AnsweredSender> answered_today(Session& session, const std::string& rn_id) {
    std::vector<AnsweredSender> senders;
    QueryResult rows =
        session.ask_or_end_run("select email, num, time_resp from resp_freq where rn_id=" + rn_id +
                               and_not_of_earlier_day() + " order by time_resp, email");
    while (rows.fetch()) {
        senders.push_back(
            {.email = rows.text(0, ""), .replies = rows.text(1, "0"), .since = rows.text(2, "")});
    }
    return senders;
}

unsigned long long forget_answered(Session& session, const std::string& rn_id,
                                   const std::optional<std::string>& sender) {
    rows_or_none(session.change("delete from resp_freq where rn_id=" + rn_id +
                                    (sender ? " and email='" + session.escape(*sender) + "'" : ""),
                                Repeat::kAllowed));
    return mysql_affected_rows(session.connection());
}

}  // namespace autoresponder
