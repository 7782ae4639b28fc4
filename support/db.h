/* SPDX-License-Identifier: Apache-2.0 */

/* The connection to the panel's database, opened the way every tool of the panel does: on the local
 * server, as user "admin" with the password in /etc/tva/.tva.shadow, database "tva", and with the
 * session settings that the server's version and a setting of the panel ask for.
 *
 * A connection belongs to the caller: mysql_close(). Connecting takes at most 30 seconds, a request
 * and its answer at most 300 each, so that a server that has gone silent cannot hold a process for
 * ever. A lost connection is not reopened, and the server cannot ask for local files. A
 * process-wide flag is kept and nothing is locked: this is for single-threaded programs.
 *
 * A server that refuses only for the moment, because it is being restarted or has too many sessions
 * (see is_passing in support/connect_pauses.h), is asked again, with growing pauses, until 5
 * seconds after the first refusal; the same goes for a connection that is lost while its session is
 * set up.
 *
 * The functions that take an error buffer write the reason for a failure into it as one line, cut
 * to its size; it may be null or of size 0. errno is that of the system call that failed, or 0 when
 * the reason came from the database. None of the functions throws.
 */
#ifndef SUPPORT_DB_H
#define SUPPORT_DB_H

#include <mysql.h>
#include <stddef.h> /* NOLINT(modernize-deprecated-headers): C, too */

#ifdef __cplusplus
extern "C" {
#endif

/* Makes the client library ready; needed before mysql_escape_string() when no connection has been
 * made yet. Further calls do nothing. From then on the process reads no configuration file of
 * OpenSSL, and looks services up in /etc/services only, whatever nsswitch.conf(5) says. */
void db_library_init(void);

/* Opens the connection and logs in. Returns null on failure, with one of
 *     Unable to open admin password file: <reason>
 *     Unable to read admin password file: <reason>
 *     Unable to initialize MySQL connection structure: <reason>
 *     Unable to connect to Tolva Database: <error of the database>
 * in err. The password is the first line of its file, at most 99 characters, without the line feed
 * at its end; a carriage return there is part of it. */
MYSQL* tolva_db_connect_raw_ex(char* err, size_t size);

/* As above; null also if the handle reports an error number, with "Unable to connect to Tolva
 * Database: <error of the database>". */
MYSQL* tolva_db_connect_raw(char* err, size_t size);

/* As tolva_db_connect_raw_ex, and sets the session up: no foreign key checks; with a server of
 * version 4.1 or later "SET NAMES utf8" or "SET NAMES binary", by the panel's setting
 * mysql41_compatible. With the client library in use it always comes out as binary: see
 * compatibility_setting in support/db_setup.h. If a step fails, the connection is returned as it
 * is, with one of
 *     DB error (<step>) <number>: <error of the database>
 *     DB error (<step>): unknown error
 * in err. */
MYSQL* tolva_db_connect_ex(char* err, size_t size);

/* As tolva_db_connect_ex; but if the handle reports an error number after that, the connection is
 * closed and the result is null. */
MYSQL* tolva_db_connect(char* err, size_t size);

/* The same as tolva_db_connect. */
MYSQL* db_connect_nothrow(char* err, size_t size);

/* As tolva_db_connect; reports the reason for a failure through messlog2, without ending the
 * process. */
MYSQL* db_connect(void);

/* As db_connect; the caller gets the reason, too. */
MYSQL* db_connect_with_reason(char* err, size_t size);

/* Connects again, as mariadb_reconnect() does, with the options of the connection and, if one of
 * the functions above made it, the password from its file: they wipe it from the library's memory.
 * Not 0 on failure; mysql_errno() then says why, unless the password could not be read or has
 * changed meanwhile. */
int db_connect_again(MYSQL* connection);

/* The number of the database's error for which the last tolva_db_connect, db_connect and the like
 * failed; 0 if it did not, or for another reason: the password could not be read, say. */
unsigned int db_connect_errno(void);

/* Whether the sessions of this process run in UTF-8 mode: 1 or 0, or -1 until a session has been
 * set up. */
int tolva_db_mysql41_compatible_raw(void);

/* The same; if it is not known yet, opens a connection to find out. That connection is not returned
 * and stays open until the process ends. */
int db_is_mysql41_compatible(void);

#ifdef __cplusplus
}
#endif

#endif
