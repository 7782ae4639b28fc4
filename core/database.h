#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "support/db.h"
#include "support/db_handle.h"

/// What the core uses of the database: an owned connection, and queries whose rows are read as
/// text.

/// The rows of one query, held in memory on the client's side, so that further queries may run on
/// the same connection while they are read.
class QueryResult {
  public:
    /// Takes over `result`; null stands for a result without rows.
    explicit QueryResult(MYSQL_RES* result) : result_(result) {}

    /// Goes to the next row; false when there is none.
    bool fetch();

    /// A column of the current row, by its position from 0; null for SQL NULL. Valid until the next
    /// fetch.
    [[nodiscard]] std::optional<std::string_view> column(unsigned int index) const;

    /// A column of the current row, with `when_null` for SQL NULL.
    [[nodiscard]] std::string text(unsigned int index, std::string_view when_null) const;

  private:
    tolva::db::ResultHandle result_;
    MYSQL_ROW row_ = nullptr;
    const unsigned long* lengths_ = nullptr;
};

/// Runs `statement` and reads its rows. If the server refuses it or its rows cannot be read, ends
/// the run with `failure` followed by the reason.
QueryResult query(MYSQL* connection, const std::string& statement,
                  std::string_view failure = "autoresponder: Unable to exec query :");

/// The same, except that rows that cannot be read count as none, with a line on standard error.
QueryResult query_or_no_rows(MYSQL* connection, const std::string& statement);

/// The same; nothing in place of ending the run, with the reason in mysql_error(3).
std::optional<QueryResult> try_query(MYSQL* connection, const std::string& statement);

/// Opens the connection to the panel's database, or ends the run.
tolva::db::ConnectionHandle connect_to_database();

/// `text` escaped for an SQL string literal of this connection's session.
std::string escape_for_sql(MYSQL* connection, const std::string& text);
