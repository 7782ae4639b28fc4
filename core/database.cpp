#include "core/database.h"

#include <new>
#include <utility>

#include "core/run_end.h"
#include "support/c_pointer.h"
#include "support/db_params.h"

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

QueryResult send_statement(MYSQL* connection, const std::string& statement) {
    if (mysql_real_query(connection, statement.data(), statement.size()) != 0) {
        return {QueryResult::Outcome::kRefused, mysql_error(connection)};
    }
    tolva::db::ResultHandle rows = tolva::db::store_result(connection);
    if (rows == nullptr && mysql_errno(connection) != 0) {
        return {QueryResult::Outcome::kUnreadable, mysql_error(connection)};
    }
    return QueryResult(std::move(rows));
}

QueryResult rows_or_end_run(MYSQL* connection, const std::string& statement,
                            std::string_view failure) {
    QueryResult result = send_statement(connection, statement);
    if (!result.answered()) {
        throw EndOfRun(std::string(failure) + result.reason());
    }
    return result;
}

tolva::db::ConnectionHandle connect_or_end_run() {
    tolva::db::ConnectionHandle connection(db_connect());
    if (!connection) {
        throw EndOfRun("autoresponder: Unable to connect to the mysql database ");
    }
    return connection;
}

std::string escape_for_sql(MYSQL* connection, const std::string& text) {
    const tolva::CPointer<char> escaped(escape_mysql_param(connection, text.c_str()));
    if (!escaped) {
        throw std::bad_alloc();
    }
    return escaped.get();
}
