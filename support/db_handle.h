#pragma once

#include <mysql.h>

#include <memory>

namespace tolva::db {

struct ConnectionDeleter {
    void operator()(MYSQL* connection) const { mysql_close(connection); }
};

struct ResultDeleter {
    void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};

using ConnectionHandle = std::unique_ptr<MYSQL, ConnectionDeleter>;
using ResultHandle = std::unique_ptr<MYSQL_RES, ResultDeleter>;

}  // namespace tolva::db
