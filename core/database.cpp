#include "core/database.h"

#include <errmsg.h>
#include <mysqld_error.h>

#include <array>
#include <new>
#include <utility>

#include "core/run_end.h"
#include "support/c_pointer.h"
#include "support/db_params.h"
#include "support/db_retry.h"
#include "support/db_session.h"

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

namespace {

constexpr int kRepetitions = 3;

// A connection with an answer that could not be read to its end. A new one in its place could not
// supply the rest, so everything that follows has to fail.
const MYSQL* abandoned = nullptr;

// Whether the server has undone the statement that has just failed, and nothing else, so that it
// may be sent again. Without autocommit it has also undone earlier statements. A lock wait that ran
// into its limit is not repeated: the server has waited as long as its administrator allows, and
// others may have been waiting for this connection meanwhile.
bool was_rolled_back(MYSQL* connection) {
    return mysql_errno(connection) == ER_LOCK_DEADLOCK &&
           (connection->server_status & SERVER_STATUS_AUTOCOMMIT) != 0;
}

// Whether the statement has just failed because the connection is of no more use, and may be sent
// again over another. Where nobody knows what became of it, only an insertion does harm when it is
// repeated.
bool was_cut_off(MYSQL* connection, const std::string& statement) {
    switch (mysql_errno(connection)) {
        case CR_SERVER_GONE_ERROR:  // before it was sent
        case ER_UNKNOWN_COM_ERROR:  // refused by a node that has lost its cluster
        case ER_SERVER_SHUTDOWN:    // undone
        case ER_CONNECTION_KILLED:
            return true;
        case CR_SERVER_LOST:  // before it was answered
            return !statement.starts_with("insert ");
        default:
            return false;
    }
}

// Whether the client library gave up on the answer, without memory for it, say. It has no number
// for each reason.
bool was_left_unread(MYSQL* connection, const QueryResult& result) {
    switch (mysql_errno(connection)) {
        case 0:
        case CR_OUT_OF_MEMORY:
        case CR_MALFORMED_PACKET:
            return !result.answered();
        default:
            return result.outcome() == QueryResult::Outcome::kUnreadable;
    }
}

// Replaces a broken connection by one whose session is set up in the same way. False if that cannot
// be done within a few seconds, which have to do for the whole run.
bool connect_again(MYSQL* connection) {
    if (connection == abandoned) {
        return false;
    }
    static tolva::db::Patience patience;
    const my_bool on = 1;
    const my_bool off = 0;
    std::array<char, 256> ignored{};
    bool utf8_mode = false;
    bool connected = false;
    mysql_options(connection, MYSQL_OPT_RECONNECT, &on);
    do {
        connected =
            mariadb_reconnect(connection) == 0 &&
            tolva::db::set_up_session(connection, utf8_mode, ignored.data(), ignored.size());
    } while (!connected && tolva::db::is_passing(connection) && patience.wait());
    mysql_options(connection, MYSQL_OPT_RECONNECT, &off);
    return connected;
}

QueryResult send_once(MYSQL* connection, const std::string& statement) {
    if (!tolva::db::send_query(connection, statement)) {
        return {QueryResult::Outcome::kRefused, mysql_error(connection)};
    }
    tolva::db::ResultHandle rows = tolva::db::store_result(connection);
    if (rows == nullptr && mysql_errno(connection) != 0) {
        return {QueryResult::Outcome::kUnreadable, mysql_error(connection)};
    }
    return QueryResult(std::move(rows));
}

}  // namespace

QueryResult send_statement(MYSQL* connection, const std::string& statement) {
    QueryResult result = send_once(connection, statement);
    for (int left = kRepetitions; left > 0 && !result.answered(); --left) {
        const bool repeatable = was_rolled_back(connection) ||
                                (was_cut_off(connection, statement) && connect_again(connection));
        if (!repeatable) {
            break;
        }
        result = send_once(connection, statement);
    }
    if (was_left_unread(connection, result)) {
        abandoned = connection;
    }
    return result;
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
