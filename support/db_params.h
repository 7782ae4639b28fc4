/* SPDX-License-Identifier: Apache-2.0 */

/* Single parameters of the panel's key/value tables.
 *
 * Each function takes an open connection, or null: then it opens one of its own with db_connect()
 * and closes it before it returns. Failures are reported through messlog2, without ending the
 * process; errno is 0 when the reason came from the database, so that no error of the system is
 * added, and ENOMEM when there was no memory. None of the functions throws.
 *
 * Texts are C strings: they end at the first zero byte. Values are escaped for SQL when they are
 * written. Names, ids, keys, tables and columns are not: they have to come from the program, never
 * from a message or a form.
 */
#ifndef SUPPORT_DB_PARAMS_H
#define SUPPORT_DB_PARAMS_H

#include <mysql.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The get family. The result is the first column of the first row, cut to 4095 bytes, in a buffer
 * of the process that the next call of any of them overwrites. It is "" if there is no row or the
 * column is NULL, and null if there is no connection or the query fails, with one of
 *     Unable to connect to the mysql database
 *     Unable to query parameter by query <query>: <error of the database>
 * The query of get_param_simple and get_param is cut to 4095 bytes, and so fails, if it is longer.
 * After a result that there is no memory for, nothing more can be asked of the connection: see
 * store_result in support/db_handle.h. */
char* get_param_query(const char* query, MYSQL* connection);

/* "select <value_column> from <table> where <key_column>='<key>'" */
char* get_param_simple(const char* key, const char* table, const char* key_column,
                       const char* value_column, MYSQL* connection);

/* The panel's setting of that name, from table misc. */
char* get_param(const char* name, MYSQL* connection);

/* A copy of text, up to its first zero byte, for use between single quotes in a statement sent over
 * that connection, which must not be null. The caller frees it with free(3). Null for null text,
 * and null with errno ENOMEM when there is no memory. */
char* escape_mysql_param(MYSQL* connection, const char* text);

/* These return 0, or -1 after reporting
 *     Unable to connect to mysql database
 *     Unable to put parameter <name> into misc: <error>
 *     Unable to delete parameter <name> from <table>: <error>
 * Deleting what is not there is a success. */

/* Sets the panel's setting of that name; with a null value the column's default. */
int put_param(const char* name, const char* value, MYSQL* connection);

int del_param(const char* name, MYSQL* connection);

int del_dom_param(const char* dom_id, const char* name, MYSQL* connection);

/* Deletes from table Parameters; a null value stands for every value. */
int del_Parameter(const char* id, const char* name, const char* value, MYSQL* connection);

#ifdef __cplusplus
}
#endif

#endif
