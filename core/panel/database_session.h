// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>  // IWYU pragma: export

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "support/connect_pauses.h"  // IWYU pragma: export
#include "support/db_handle.h"

/// The session with the panel's database, in which the core asks and changes everything:
///
///     Session session = Session::open();
///     QueryResult rows = session.ask_or_end_run("select id from mail where ...");
///     while (rows.fetch()) {
///         use(rows.text(0, ""));
///     }
namespace autoresponder {

/// What became of a statement, and its rows. The rows are held in memory on the client's side, so
/// further statements may be sent while they are read.
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

/// Whether a statement may be sent again when the connection broke before it was answered, and so
/// nobody knows whether it was carried out.
enum class Repeat {
    kAllowed,  ///< carried out twice, it does what it does once
    kForbidden,
};

/// A statement that the server undid because of a deadlock, or because another node of its cluster
/// changed the same rows first, is sent again, at most three times. That holds for sessions with
/// autocommit, where nothing else is undone with it; without autocommit a deadlock is a failure
/// like any other.
///
/// Where the connection breaks, because the server is restarted or a node of the cluster is lost,
/// it is opened again, within 5 seconds for the whole session, and the statement is sent again
/// where that is allowed.
class Session {
  public:
    /// Opens a connection as every tool of the panel does. Throws EndOfRun, with the reason on
    /// standard error, if that fails.
    static Session open();

    /// Takes the connection over.
    explicit Session(tolva::db::ConnectionHandle connection)
        : connection_(connection.get()), owned_(std::move(connection)) {}

    /// Uses a connection of the caller's, which must outlive the session.
    explicit Session(MYSQL* connection) : connection_(connection) {}

    /// Has the server refuse changes from now on, also in a connection that takes this one's place.
    /// A server that does not know the statement goes on.
    void make_read_only();

    /// Closes the connection, unless it is the caller's; nothing may be asked after that.
    void close() { owned_.reset(); }

    /// Sends a statement that changes something.
    QueryResult change(const std::string& statement, Repeat repeat);

    /// Sends a statement that only reads, and reads its rows.
    QueryResult ask(const std::string& statement) { return change(statement, Repeat::kAllowed); }

    /// The same; throws EndOfRun with `failure` and the reason unless the statement was answered.
    QueryResult ask_or_end_run(const std::string& statement,
                               std::string_view failure = kStatementFailed);

    /// The begin of the line that ends the run when a statement fails that has no line of its own.
    static constexpr std::string_view kStatementFailed = "autoresponder: Unable to exec query :";

    /// `text` escaped for an SQL string literal of this session. Throws std::bad_alloc.
    [[nodiscard]] std::string escape(std::string_view text) const;

    /// Whether a backslash escapes in the session's string literals (not with
    /// NO_BACKSLASH_ESCAPES).
    [[nodiscard]] bool escapes_with_backslash() const;

    /// The client library's text about the last statement; empty if it was answered.
    [[nodiscard]] const char* error() const { return mysql_error(connection_); }

    /// For functions that take a connection.
    [[nodiscard]] MYSQL* connection() const { return connection_; }

  private:
    QueryResult send_once(const std::string& statement);
    [[nodiscard]] bool was_rolled_back() const;
    [[nodiscard]] bool was_cut_off(Repeat repeat) const;
    [[nodiscard]] bool was_left_unread(const QueryResult& result) const;
    bool connect_again();

    MYSQL* connection_;
    tolva::db::ConnectionHandle owned_;
    std::optional<tolva::db::Patience> patience_;  // from the first loss of the connection on
    bool abandoned_ = false;                       // an answer was not read to its end
};

}  // namespace autoresponder
