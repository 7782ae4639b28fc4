// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace tolva::db {

/// Keeps errno, which may be the reason for giving the connection up.
struct ConnectionDeleter {
    void operator()(MYSQL* connection) const {
        const int error = errno;
        mysql_close(connection);
        errno = error;
    }
};

struct ResultDeleter {
    void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};

using ConnectionHandle = std::unique_ptr<MYSQL, ConnectionDeleter>;
using ResultHandle = std::unique_ptr<MYSQL_RES, ResultDeleter>;

/// mysql_real_query(3). Returns whether the server has carried the statement out, whose rows, if it
/// has any, are then to be read; else with the error at the handle.
///
/// If the client itself stopped reading the answer, for lack of memory, say, the rest of it is
/// still to come, and would be taken for the answer to the next statement. The connection is cut
/// off then: every further statement fails at once, and closing it does not wait. An error that the
/// server sent leaves the connection usable.
[[nodiscard]] bool send_query(MYSQL* connection, std::string_view statement);

/// mysql_store_result(3), owned: the rows of the statement just sent, or null, with an error number
/// at the handle unless it was one without rows. What send_query does if the client itself stopped
/// reading, this does, too.
[[nodiscard]] ResultHandle store_result(MYSQL* connection);

}  // namespace tolva::db
