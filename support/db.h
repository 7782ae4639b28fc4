#ifndef SUPPORT_DB_H
#define SUPPORT_DB_H

#include <mysql.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

MYSQL* db_connect(void);
char* get_param(const char* name, MYSQL* connection);
char* escape_mysql_param(MYSQL* connection, const char* text);

#ifdef __cplusplus
}
#endif

#endif
