// SPDX-License-Identifier: Apache-2.0

#include "support/db_params.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "support/c_pointer.h"
#include "support/db.h"
#include "support/db_handle.h"
#include "support/log.h"

using tolva::db::ConnectionHandle;
using tolva::db::ResultHandle;

namespace {

constexpr size_t kParameterSize = 4096;
char parameter[kParameterSize];

// The caller's connection or, if there is none, one that lasts as long as this object.
class BorrowedOrOwn {
  public:
    explicit BorrowedOrOwn(MYSQL* borrowed)
        : own_(borrowed == nullptr ? db_connect() : nullptr),
          connection_(borrowed != nullptr ? borrowed : own_.get()) {}

    [[nodiscard]] MYSQL* get() const { return connection_; }

  private:
    ConnectionHandle own_;
    MYSQL* connection_;
};

// The reason is the server's: no error of the system must be added to the message.
const char* reason_of(MYSQL* connection) {
    errno = 0;
    return mysql_error(connection);
}

}  // namespace

char* get_param_query(const char* query, MYSQL* connection) {
    const BorrowedOrOwn database(connection);
    if (database.get() == nullptr) {
        messlog2(0, 0, "Unable to connect to the mysql database\n");
        return nullptr;
    }
    ResultHandle result;
    const bool sent = tolva::db::send_query(database.get(), query);
    if (sent) {
        result = tolva::db::store_result(database.get());
    }
    if (!sent || mysql_errno(database.get()) != 0) {
        const char* reason = reason_of(database.get());
        messlog2(0, 0, "Unable to query parameter by query %s: %s\n", query, reason);
        return nullptr;
    }
    MYSQL_ROW row = result != nullptr ? mysql_fetch_row(result.get()) : nullptr;
    const char* value = row != nullptr && row[0] != nullptr ? row[0] : "";
    std::snprintf(parameter, sizeof parameter, "%s", value);
    return parameter;
}

char* get_param_simple(const char* key, const char* table, const char* key_column,
                       const char* value_column, MYSQL* connection) {
    std::array<char, 4096> query{};
    std::snprintf(query.data(), query.size(), "select %s from %s where %s='%s'", value_column,
                  table, key_column, key);
    return get_param_query(query.data(), connection);
}

char* get_param(const char* name, MYSQL* connection) {
    return get_param_simple(name, "misc", "param", "val", connection);
}

char* escape_mysql_param(MYSQL* connection, const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const size_t length = strlen(text);
    auto* escaped = static_cast<char*>(std::malloc(2 * length + 1));
    if (escaped != nullptr) {
        mysql_real_escape_string(connection, escaped, text, length);
    }
    return escaped;
}

namespace {

// What a write or delete helper reports: when it fails (name, reason), and without a connection.
struct Messages {
    const char* failed;
    const char* unconnected = "Unable to connect to mysql database\n";
};

int report_failure(const char* format, const char* name, const char* reason)
    __attribute__((format(printf, 1, 0)));

int report_failure(const char* format, const char* name, const char* reason) {
    messlog2(0, 0, format, name, reason);
    return -1;
}

// The value as it stands between the quotes of an SQL string literal.
std::string escaped(MYSQL* connection, const char* value) {
    const tolva::CPointer<char> text(escape_mysql_param(connection, value));
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return text.get();
}

// Sends the statement that compose(connection) returns.
template <typename Compose>
int send(MYSQL* connection, const char* name, const Messages& messages, Compose compose) {
    const BorrowedOrOwn database(connection);
    if (database.get() == nullptr) {
        messlog2(0, 0, "%s", messages.unconnected);
        return -1;
    }
    try {
        const std::string statement = compose(database.get());
        if (!tolva::db::send_query(database.get(), statement)) {
            return report_failure(messages.failed, name, reason_of(database.get()));
        }
        return 0;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return report_failure(messages.failed, name, strerror(ENOMEM));
    }
}

}  // namespace

int put_param(const char* name, const char* value, MYSQL* connection) {
    const Messages messages = {"Unable to put parameter %s into misc: %s",
                               "Unable to connect to mysql database"};
    return send(connection, name, messages, [&](MYSQL* database) {
        if (value == nullptr) {
            return std::string("replace into misc (param) values('") + name + "')";
        }
        return std::string("replace into misc (param, val) values('") + name + "', '" +
               escaped(database, value) + "')";
    });
}

int del_param(const char* name, MYSQL* connection) {
    return send(connection, name, {"Unable to delete parameter %s from misc: %s"},
                [&](MYSQL*) { return std::string("delete from misc where param='") + name + "'"; });
}

int del_dom_param(const char* dom_id, const char* name, MYSQL* connection) {
    const Messages messages = {"Unable to delete parameter %s from dom_param: %s"};
    return send(connection, name, messages, [&](MYSQL*) {
        return std::string("delete from dom_param where dom_id='") + dom_id + "' and param='" +
               name + "'";
    });
}

int del_Parameter(const char* id, const char* name, const char* value, MYSQL* connection) {
    const Messages messages = {"Unable to delete parameter %s from Parameters: %s"};
    return send(connection, name, messages, [&](MYSQL* database) {
        std::string statement = std::string("delete from Parameters where id='") + id +
                                "' and parameter='" + name + "'";
        if (value != nullptr) {
            statement += " and value='" + escaped(database, value) + "'";
        }
        return statement;
    });
}
