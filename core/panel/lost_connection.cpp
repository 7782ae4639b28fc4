// SPDX-License-Identifier: Apache-2.0

// What a session does about a statement that was undone, or whose connection was lost.

#include <errmsg.h>
#include <mysqld_error.h>

#include <array>
#include <string>

#include "core/panel/database_session.h"
#include "support/db.h"
#include "support/db_setup.h"

namespace autoresponder {

QueryResult Session::change(const std::string& statement, Repeat repeat) {
    QueryResult result = send_once(statement);
    constexpr int repetitions = 3;
    for (int left = repetitions; left > 0 && !result.answered(); --left) {
        if (!was_rolled_back() && !(was_cut_off(repeat) && connect_again())) {
            break;
        }
        result = send_once(statement);
    }
    // A new connection in place of this one could not supply the rest of the answer.
    abandoned_ = abandoned_ || was_left_unread(result);
    return result;
}

// Whether the server has undone the statement that has just failed, and nothing else. Without
// autocommit it has also undone earlier statements. A statement whose lock wait ran into its limit
// is not sent again: the server has waited as long as its administrator allows, and others may have
// been waiting for this session meanwhile.
bool Session::was_rolled_back() const {
    return mysql_errno(connection_) == ER_LOCK_DEADLOCK &&
           (connection_->server_status & SERVER_STATUS_AUTOCOMMIT) != 0;
}

// Whether the statement has just failed because the connection is of no more use, and may be sent
// again over another.
bool Session::was_cut_off(Repeat repeat) const {
    switch (mysql_errno(connection_)) {
        case CR_SERVER_GONE_ERROR:  // before it was sent
        case ER_UNKNOWN_COM_ERROR:  // refused by a node that has lost its cluster
        case ER_SERVER_SHUTDOWN:    // undone
        case ER_CONNECTION_KILLED:
            return true;
        case CR_SERVER_LOST:  // before it was answered
            return repeat == Repeat::kAllowed;
        default:
            return false;
    }
}

// Whether the client library gave up on the answer, without memory for it, say. It has no number
// for each reason.
bool Session::was_left_unread(const QueryResult& result) const {
    switch (mysql_errno(connection_)) {
        case 0:
        case CR_OUT_OF_MEMORY:
        case CR_MALFORMED_PACKET:
            return !result.answered();
        default:
            return result.outcome() == QueryResult::Outcome::kUnreadable;
    }
}

// Replaces the broken connection by one whose session is set up in the same way.
bool Session::connect_again() {
    if (abandoned_) {
        return false;
    }
    if (!patience_) {
        patience_.emplace();
    }
    const my_bool on = 1;
    const my_bool off = 0;
    std::array<char, 256> ignored{};
    bool utf8_mode = false;
    bool connected = false;
    mysql_options(connection_, MYSQL_OPT_RECONNECT, &on);
    do {
        connected =
            db_connect_again(connection_) == 0 &&
            tolva::db::set_up_session(connection_, utf8_mode, ignored.data(), ignored.size());
    } while (!connected && tolva::db::is_passing(connection_) && patience_->wait());
    mysql_options(connection_, MYSQL_OPT_RECONNECT, &off);
    return connected;
}

}  // namespace autoresponder
