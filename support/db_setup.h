// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <cstddef>
#include <string_view>

/// The settings of a session, as part of opening a connection (db.h).
namespace tolva::db {

/// Whether a server of that version has a character set for each session: all but "3." and "4.0.".
bool has_session_charset(std::string_view version);

/// The value of the setting mysql41_compatible, read from the second slot of a row.
///
/// The query selects one column, and the slot after a row's last column holds no value: Connector/C
/// keeps its end-of-row pointer there, which points past the last byte it copied, to memory that
/// may not be allocated or was never written. It must not be read, and so counts as a value without
/// text: null.
const char* compatibility_setting(MYSQL_RES* result, MYSQL_ROW row);

/// "SET NAMES utf8" for a setting other than null, "" and "false", else "SET NAMES binary".
bool is_utf8_wanted(const char* setting);

/// Sets the session up. Returns true with the session's mode in utf8_mode, or false with the reason
/// in err if a step fails.
[[nodiscard]] bool set_up_session(MYSQL* connection, bool& utf8_mode, char* err, size_t size);

}  // namespace tolva::db
