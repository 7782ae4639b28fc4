#pragma once

#include <mysql.h>

#include <memory>

namespace tolva::db {

struct connection_deleter {
    void operator()(MYSQL* connection) const { mysql_close(connection); }
};

struct result_deleter {
    void operator()(MYSQL_RES* result) const { mysql_free_result(result); }
};

using connection_handle = std::unique_ptr<MYSQL, connection_deleter>;
using result_handle = std::unique_ptr<MYSQL_RES, result_deleter>;

}  // namespace tolva::db
