#include "support/db_handle.h"

#include <errmsg.h>
#include <sys/socket.h>

namespace tolva::db {

namespace {

bool is_of_client(unsigned error) {
    return IS_MYSQL_ERROR(error) || IS_MARIADB_ERROR(error);
}

}  // namespace

ResultHandle store_result(MYSQL* connection) {
    ResultHandle rows(mysql_store_result(connection));
    if (rows == nullptr && is_of_client(mysql_errno(connection))) {
        // Not mysql_close(3): the handle is the caller's, and its error is still to be reported.
        shutdown(mysql_get_socket(connection), SHUT_RDWR);
    }
    return rows;
}

}  // namespace tolva::db
