#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "support/db.h"
#include "support/db_handle.h"

/// What the core uses of the database: an owned connection, and statements whose rows are read as
/// text.

/// What became of a statement, and its rows. The rows are held in memory on the client's side, so
/// that further statements may be sent on the same connection while they are read.
class QueryResult {
  public:
    enum class Outcome {
        kAnswered,    ///< carried out; a statement that yields no rows counts as one without any
        kRefused,     ///< refused by the server, or the server could not be reached or understood
        kUnreadable,  ///< carried out, but its rows could not be read (see store_result)
    };

    /// An answered statement; null stands for a result without rows.
    explicit QueryResult(tolva::db::ResultHandle rows) : rows_(std::move(rows)) {}

    /// A statement that failed; `reason` is the client library's text.
    QueryResult(Outcome outcome, std::string_view reason) : outcome_(outcome), reason_(reason) {}

    [[nodiscard]] Outcome outcome() const { return outcome_; }
    [[nodiscard]] bool answered() const { return outcome_ == Outcome::kAnswered; }

    /// Why it failed; empty when it was answered.
    [[nodiscard]] const std::string& reason() const { return reason_; }

    /// Moves to the next row; false when there is none.
    bool fetch();

    /// A column of the current row, by its position from 0; null for SQL NULL. Valid until the next
    /// fetch.
    [[nodiscard]] std::optional<std::string_view> column(unsigned int index) const;

    /// A column of the current row, with `when_null` for SQL NULL.
    [[nodiscard]] std::string text(unsigned int index, std::string_view when_null) const;

  private:
    Outcome outcome_ = Outcome::kAnswered;
    std::string reason_;
    tolva::db::ResultHandle rows_;
    MYSQL_ROW row_ = nullptr;
    const unsigned long* lengths_ = nullptr;
};

/// The text that ends the run when a statement fails that has no text of its own.
inline constexpr std::string_view kStatementFailed = "autoresponder: Unable to exec query :";

/// Sends `statement` and reads its rows. The one way by which the core asks the database anything.
///
/// A statement that the server undid because of a deadlock, or because another node of its cluster
/// changed the same rows first, is sent again, at most three times. That holds for sessions with
/// autocommit, where nothing else is undone with it; without autocommit a deadlock is a failure
/// like any other.
///
/// Where the connection breaks, because the server is restarted or a node of the cluster is lost,
/// `connection` is opened again in place, within 5 seconds, and the statement is sent again, unless
/// it is an insertion that may have been carried out.
QueryResult send_statement(MYSQL* connection, const std::string& statement);

/// The same; throws EndOfRun with `failure` and the reason unless the statement was answered.
QueryResult rows_or_end_run(MYSQL* connection, const std::string& statement,
                            std::string_view failure = kStatementFailed);

/// Opens the connection to the panel's database, or throws EndOfRun; db_connect has then reported
/// why.
tolva::db::ConnectionHandle connect_or_end_run();

/// `text` up to its first zero byte, escaped for an SQL string literal of this connection's
/// session. Throws std::bad_alloc.
std::string escape_for_sql(MYSQL* connection, const std::string& text);
