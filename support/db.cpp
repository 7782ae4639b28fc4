#include "support/db.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/db_handle.h"
#include "support/db_password.h"
#include "support/db_session.h"
#include "support/log.h"

using tolva::db::AdminPassword;
using tolva::db::ConnectionHandle;

namespace {

constexpr char kUser[] = "admin";
constexpr char kDatabase[] = "tva";
constexpr unsigned kConnectSeconds = 30;
constexpr unsigned kAnswerSeconds = 300;

// -1: no session has been set up yet.
int mysql41_compatible = -1;

void set_options(MYSQL* connection) {
    const my_bool off = 0;
    const unsigned int none = 0;
    mysql_options(connection, MYSQL_OPT_CONNECT_TIMEOUT, &kConnectSeconds);
    mysql_options(connection, MYSQL_OPT_READ_TIMEOUT, &kAnswerSeconds);
    mysql_options(connection, MYSQL_OPT_WRITE_TIMEOUT, &kAnswerSeconds);
    mysql_options(connection, MYSQL_OPT_RECONNECT, &off);
    mysql_options(connection, MYSQL_OPT_LOCAL_INFILE, &none);
}

MYSQL* null_on_error(ConnectionHandle connection) {
    if (connection != nullptr && mysql_errno(connection.get()) != 0) {
        connection.reset();
        errno = 0;
    }
    return connection.release();
}

}  // namespace

void db_library_init(void) {
    mysql_library_init(0, nullptr, nullptr);
}

MYSQL* tolva_db_connect_raw_ex(char* err, size_t size) {
    AdminPassword password;
    if (!password.read(err, size)) {
        return nullptr;
    }
    db_library_init();
    ConnectionHandle connection(mysql_init(nullptr));
    if (connection == nullptr) {
        std::snprintf(err, size, "Unable to initialize MySQL connection structure: %s",
                      strerror(ENOMEM));
        errno = ENOMEM;
        return nullptr;
    }
    set_options(connection.get());
    if (mysql_real_connect(connection.get(), "localhost", kUser, password.text(), kDatabase, 0,
                           nullptr, 0) == nullptr) {
        std::snprintf(err, size, "Unable to connect to Tolva Database: %s",
                      mysql_error(connection.get()));
        connection.reset();
        errno = 0;
    }
    return connection.release();
}

MYSQL* tolva_db_connect_raw(char* err, size_t size) {
    return null_on_error(ConnectionHandle(tolva_db_connect_raw_ex(err, size)));
}

MYSQL* tolva_db_connect_ex(char* err, size_t size) {
    MYSQL* connection = tolva_db_connect_raw(err, size);
    if (connection == nullptr) {
        return nullptr;
    }
    bool utf8_mode = false;
    if (tolva::db::set_up_session(connection, utf8_mode, err, size)) {
        mysql41_compatible = utf8_mode ? 1 : 0;
    }
    return connection;
}

MYSQL* tolva_db_connect(char* err, size_t size) {
    return null_on_error(ConnectionHandle(tolva_db_connect_ex(err, size)));
}

MYSQL* db_connect_nothrow(char* err, size_t size) {
    return tolva_db_connect(err, size);
}

MYSQL* db_connect(void) {
    std::array<char, 4097> reason{};
    MYSQL* connection = tolva_db_connect(reason.data(), reason.size());
    if (connection == nullptr) {
        messlog2(0, 0, "%s", reason.data());
    }
    return connection;
}

int tolva_db_mysql41_compatible_raw(void) {
    return mysql41_compatible;
}

int db_is_mysql41_compatible(void) {
    if (mysql41_compatible == -1) {
        static_cast<void>(db_connect());
    }
    return mysql41_compatible;
}
