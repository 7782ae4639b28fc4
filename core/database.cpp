#include "core/database.h"

#include <iostream>
#include <new>
#include <utility>

#include "core/run_end.h"
#include "support/c_pointer.h"
#include "support/db_params.h"

bool QueryResult::fetch() {
    row_ = result_ ? mysql_fetch_row(result_.get()) : nullptr;
    lengths_ = row_ != nullptr ? mysql_fetch_lengths(result_.get()) : nullptr;
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

std::optional<QueryResult> try_query(MYSQL* connection, const std::string& statement) {
    if (mysql_real_query(connection, statement.data(), statement.size()) != 0) {
        return std::nullopt;
    }
    MYSQL_RES* rows = mysql_store_result(connection);
    if (rows == nullptr && mysql_errno(connection) != 0) {
        return std::nullopt;
    }
    return QueryResult(rows);
}

QueryResult query(MYSQL* connection, const std::string& statement, std::string_view failure) {
    std::optional<QueryResult> result = try_query(connection, statement);
    if (!result) {
        end_run(std::string(failure) + mysql_error(connection));
    }
    return std::move(*result);
}

QueryResult query_or_no_rows(MYSQL* connection, const std::string& statement) {
    if (mysql_real_query(connection, statement.data(), statement.size()) != 0) {
        end_run(std::string("autoresponder: Unable to exec query :") + mysql_error(connection));
    }
    MYSQL_RES* rows = mysql_store_result(connection);
    if (rows == nullptr && mysql_errno(connection) != 0) {
        std::cerr << "autoresponder: Unable to read the rows of a query: "
                  << mysql_error(connection) << std::endl;
    }
    return QueryResult(rows);
}

tolva::db::ConnectionHandle connect_to_database() {
    tolva::db::ConnectionHandle connection(db_connect());
    if (!connection) {
        end_run("autoresponder: Unable to connect to the mysql database ");
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
