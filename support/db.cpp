// SPDX-License-Identifier: Apache-2.0

#include "support/db.h"

#include <malloc.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/connect_pauses.h"
#include "support/db_handle.h"
#include "support/db_password.h"
#include "support/db_setup.h"
#include "support/log.h"

using tolva::db::AdminPassword;
using tolva::db::ConnectionHandle;
using tolva::db::Patience;

namespace {

constexpr char kUser[] = "admin";
constexpr char kDatabase[] = "tva";
constexpr unsigned kConnectSeconds = 30;
constexpr unsigned kAnswerSeconds = 300;

// -1: no session has been set up yet.
int mysql41_compatible = -1;

unsigned int connect_errno = 0;

void set_options(MYSQL* connection, unsigned connect_seconds) {
    const my_bool off = 0;
    const unsigned int none = 0;
    mysql_options(connection, MYSQL_OPT_CONNECT_TIMEOUT, &connect_seconds);
    mysql_options(connection, MYSQL_OPT_READ_TIMEOUT, &kAnswerSeconds);
    mysql_options(connection, MYSQL_OPT_WRITE_TIMEOUT, &kAnswerSeconds);
    mysql_options(connection, MYSQL_OPT_RECONNECT, &off);
    mysql_options(connection, MYSQL_OPT_LOCAL_INFILE, &none);
}

// The library keeps it for connecting again. Processes that are forked meanwhile must not have it
// in their memory.
void wipe_password(MYSQL* connection) {
    if (connection->passwd != nullptr) {
        explicit_bzero(connection->passwd, std::strlen(connection->passwd));
    }
}

// Undoes that; false if there is no room, because the password has changed meanwhile.
bool put_back(MYSQL* connection, const char* password) {
    const size_t size = std::strlen(password) + 1;
    const bool fits = size <= malloc_usable_size(connection->passwd);
    if (fits) {
        std::memcpy(connection->passwd, password, size);
    }
    return fits;
}

void report_refusal(MYSQL* connection, char* err, size_t size) {
    std::snprintf(err, size, "Unable to connect to Tolva Database: %s", mysql_error(connection));
    connect_errno = mysql_errno(connection);
    errno = 0;
}

bool reports_error(const ConnectionHandle& connection) {
    return connection != nullptr && mysql_errno(connection.get()) != 0;
}

// Opens a connection and logs in, trying again after refusals that pass. Null with errno and the
// reason in err.
ConnectionHandle log_in(const AdminPassword& password, Patience& patience, char* err, size_t size) {
    db_library_init();
    while (true) {
        ConnectionHandle connection(mysql_init(nullptr));
        if (connection == nullptr) {
            std::snprintf(err, size, "Unable to initialize MySQL connection structure: %s",
                          strerror(ENOMEM));
            errno = ENOMEM;
            return nullptr;
        }
        set_options(connection.get(), patience.seconds_for_try(kConnectSeconds));
        if (mysql_real_connect(connection.get(), "localhost", kUser, password.text(), kDatabase, 0,
                               nullptr, 0) != nullptr) {
            wipe_password(connection.get());
            return connection;
        }
        if (!tolva::db::is_passing(connection.get()) || !patience.wait()) {
            report_refusal(connection.get(), err, size);
            return nullptr;
        }
    }
}

// The same; null also if the handle reports an error number.
ConnectionHandle log_in_without_error(const AdminPassword& password, Patience& patience, char* err,
                                      size_t size) {
    ConnectionHandle connection = log_in(password, patience, err, size);
    if (reports_error(connection)) {
        report_refusal(connection.get(), err, size);
        return nullptr;
    }
    return connection;
}

}  // namespace

int db_connect_again(MYSQL* connection) {
    AdminPassword password;
    std::array<char, 256> ignored{};
    const bool is_wiped = connection->passwd != nullptr && *connection->passwd == '\0' &&
                          connection->user != nullptr && strcmp(connection->user, kUser) == 0;
    if (is_wiped && (!password.read(ignored.data(), ignored.size()) ||
                     !put_back(connection, password.text()))) {
        return 1;
    }
    // The library frees its copy when it makes another; this fills what is freed.
    mallopt(M_PERTURB, 1);
    const int failed = mariadb_reconnect(connection);
    mallopt(M_PERTURB, 0);
    wipe_password(connection);
    return failed;
}

MYSQL* tolva_db_connect_raw_ex(char* err, size_t size) {
    AdminPassword password;
    Patience patience;
    return password.read(err, size) ? log_in(password, patience, err, size).release() : nullptr;
}

MYSQL* tolva_db_connect_raw(char* err, size_t size) {
    AdminPassword password;
    Patience patience;
    return password.read(err, size) ? log_in_without_error(password, patience, err, size).release()
                                    : nullptr;
}

MYSQL* tolva_db_connect_ex(char* err, size_t size) {
    AdminPassword password;
    if (!password.read(err, size)) {
        return nullptr;
    }
    Patience patience;
    while (true) {
        ConnectionHandle connection = log_in_without_error(password, patience, err, size);
        if (connection == nullptr) {
            return nullptr;
        }
        bool utf8_mode = false;
        if (tolva::db::set_up_session(connection.get(), utf8_mode, err, size)) {
            mysql41_compatible = utf8_mode ? 1 : 0;
            return connection.release();
        }
        if (!tolva::db::is_passing(connection.get()) || !patience.wait()) {
            return connection.release();
        }
        std::snprintf(err, size, "%s", "");  // the next try may have nothing to report
    }
}

MYSQL* tolva_db_connect(char* err, size_t size) {
    connect_errno = 0;
    ConnectionHandle connection(tolva_db_connect_ex(err, size));
    if (reports_error(connection)) {
        connect_errno = mysql_errno(connection.get());
        errno = 0;
        return nullptr;
    }
    return connection.release();
}

MYSQL* db_connect_nothrow(char* err, size_t size) {
    return tolva_db_connect(err, size);
}

MYSQL* db_connect(void) {
    std::array<char, 4097> reason{};
    return db_connect_with_reason(reason.data(), reason.size());
}

MYSQL* db_connect_with_reason(char* err, size_t size) {
    MYSQL* connection = tolva_db_connect(err, size);
    if (connection == nullptr) {
        messlog2(0, 0, "%s", err);
    }
    return connection;
}

unsigned int db_connect_errno(void) {
    return connect_errno;
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
