// SPDX-License-Identifier: Apache-2.0

#include "support/db_handle.h"

#include <errmsg.h>
#include <sys/socket.h>

#include <cerrno>

namespace tolva::db {

namespace {

bool is_of_client(unsigned error) {
    return IS_MYSQL_ERROR(error) || IS_MARIADB_ERROR(error);
}

// Not mysql_close(3): the handle is the caller's, and its error is still to be reported, as is
// errno.
void cut_off(MYSQL* connection) {
    const int error = errno;
    shutdown(mysql_get_socket(connection), SHUT_RDWR);
    errno = error;
}

}  // namespace

bool send_query(MYSQL* connection, std::string_view statement) {
    if (mysql_real_query(connection, statement.data(), statement.size()) == 0) {
        return true;
    }
    // Without memory for the columns, the library fails without an error number.
    const unsigned error = mysql_errno(connection);
    if (error == 0 || is_of_client(error)) {
        cut_off(connection);
    }
    return false;
}

ResultHandle store_result(MYSQL* connection) {
    ResultHandle rows(mysql_store_result(connection));
    if (rows == nullptr && is_of_client(mysql_errno(connection))) {
        cut_off(connection);
    }
    return rows;
}

}  // namespace tolva::db
