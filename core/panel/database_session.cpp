// SPDX-License-Identifier: Apache-2.0

#include "core/panel/database_session.h"

#include <array>

#include "core/run/run_end.h"
#include "support/db.h"

namespace autoresponder {

bool QueryResult::fetch() {
    row_ = rows_ ? mysql_fetch_row(rows_.get()) : nullptr;
    lengths_ = row_ != nullptr ? mysql_fetch_lengths(rows_.get()) : nullptr;
    return row_ != nullptr;
}

std::optional<std::string_view> QueryResult::column(unsigned int index) const {
    if (row_[index] == nullptr) {
        return std::nullopt;
    }
    return std::string_view(row_[index], lengths_[index]);
}

std::string QueryResult::text(unsigned int index, std::string_view when_null) const {
    return std::string(column(index).value_or(when_null));
}

Session Session::open() {
    std::array<char, 4097> reason{};
    tolva::db::ConnectionHandle connection(db_connect_with_reason(reason.data(), reason.size()));
    if (!connection) {
        throw EndOfRun("autoresponder: Unable to connect to the mysql database ", reason.data());
    }
    return Session(std::move(connection));
}

void Session::make_read_only() {
    constexpr char statement[] = "SET SESSION TRANSACTION READ ONLY";
    mysql_options(connection_, MYSQL_INIT_COMMAND, statement);
    mysql_query(connection_, statement);
}

QueryResult Session::ask_or_end_run(const std::string& statement, std::string_view failure) {
    QueryResult result = ask(statement);
    if (!result.answered()) {
        throw EndOfRun(std::string(failure) + result.reason());
    }
    return result;
}

std::string Session::escape(std::string_view text) const {
    std::string escaped(2 * text.size() + 1, '\0');
    escaped.resize(mysql_real_escape_string(connection_, escaped.data(), text.data(), text.size()));
    return escaped;
}

bool Session::escapes_with_backslash() const {
    return (connection_->server_status & SERVER_STATUS_NO_BACKSLASH_ESCAPES) == 0;
}

QueryResult Session::send_once(const std::string& statement) {
    if (!tolva::db::send_query(connection_, statement)) {
        return {QueryResult::Outcome::kRefused, error()};
    }
    tolva::db::ResultHandle rows = tolva::db::store_result(connection_);
    if (rows == nullptr && mysql_errno(connection_) != 0) {
        return {QueryResult::Outcome::kUnreadable, error()};
    }
    return QueryResult(std::move(rows));
}

}  // namespace autoresponder
