// SPDX-License-Identifier: Apache-2.0

#include "support/db_setup.h"

#include <mysql.h>

#include <cstdio>

#include "support/db_handle.h"

namespace tolva::db {

namespace {

bool fail(MYSQL* connection, const char* step, char* err, size_t size) {
    const unsigned number = mysql_errno(connection);
    if (number != 0) {
        std::snprintf(err, size, "DB error (%s) %u: %s", step, number, mysql_error(connection));
    } else {
        std::snprintf(err, size, "DB error (%s): unknown error", step);
    }
    return false;
}

}  // namespace

bool has_session_charset(std::string_view version) {
    return !version.starts_with("3.") && !version.starts_with("4.0.");
}

const char* compatibility_setting(MYSQL_RES* result, MYSQL_ROW row) {
    constexpr unsigned slot = 1;
    return row != nullptr && slot < mysql_num_fields(result) ? row[slot] : nullptr;
}

bool is_utf8_wanted(const char* setting) {
    if (setting == nullptr) {
        return false;
    }
    const std::string_view text = setting;
    return !text.empty() && text != "false";
}

bool set_up_session(MYSQL* connection, bool& utf8_mode, char* err, size_t size) {
    // An old server may not know it.
    static_cast<void>(send_query(connection, "set foreign_key_checks=0"));

    if (!send_query(connection, "SHOW VARIABLES LIKE 'version'")) {
        return fail(connection, "query version", err, size);
    }
    const ResultHandle variables = store_result(connection);
    if (variables == nullptr) {
        return fail(connection, "store query result", err, size);
    }
    MYSQL_ROW variable = mysql_fetch_row(variables.get());
    if (variable == nullptr) {
        const bool failed = mysql_errno(connection) != 0;
        return fail(connection, failed ? "fetch version row" : "empty version result", err, size);
    }
    const char* version = variable[1];
    utf8_mode = false;
    if (version == nullptr || !has_session_charset(version)) {
        return true;
    }

    constexpr char statement[] = "SELECT val FROM misc WHERE param='mysql41_compatible'";
    if (!send_query(connection, statement)) {
        return fail(connection, "mysql41 compatible query", err, size);
    }
    const ResultHandle settings = store_result(connection);
    if (settings == nullptr) {
        return fail(connection, "store query result", err, size);
    }
    // The query has one column, so the setting is always null and the mode binary; only a result of
    // two columns, which no server sends for this query, would lead to "SET NAMES utf8".
    utf8_mode =
        is_utf8_wanted(compatibility_setting(settings.get(), mysql_fetch_row(settings.get())));
    if (!send_query(connection, utf8_mode ? "SET NAMES utf8" : "SET NAMES binary")) {
        return fail(connection, "set names query", err, size);
    }
    return true;
}

}  // namespace tolva::db
