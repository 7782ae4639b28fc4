/* The panel's installation paths: the variables of "/etc/tva/tva.conf", with compiled defaults.
 *
 * The file is loaded once, at the first call that needs it. As long as that fails every call tries
 * again. Strings returned belong to the configuration: they stay valid to the end of the process
 * and must not be freed. For reading other files of this kind see support/conf_table.h, which this
 * header offers, too.
 */
#ifndef SUPPORT_CONF_H
#define SUPPORT_CONF_H

#include "support/conf_table.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The indices of the variables that have a compiled default. The first and the last one mark the
 * bounds and name no variable. */
enum {
    _MIN_POSSIBLE_TVA_CONF_VAR_NAME = 0,
    TOLVA_MAILNAMES_D,
    COURIER_IMAP_ROOT_D,
    RBLSMTPD,
    CGI_PHP_BIN,
    CLIENT_PHP_BIN,
    LIB_CRYPTO_PATH,
    LIB_SSL_PATH,
    AWSTATS_DOC_D,
    AWSTATS_TOOLS_D,
    AWSTATS_BIN_D,
    AWSTATS_ETC_D,
    CATALINA_HOME,
    MAILMAN_VAR_D,
    MAILMAN_ROOT_D,
    PGSQL_DATA_D,
    PGSQL_BIN_D,
    MYSQL_BIN_D,
    MYSQL_VAR_D,
    LOGROTATE,
    WEB_STAT,
    DUMP_D,
    DUMP_TMP_D,
    NAMED_RUN_ROOT_D,
    FTPD_CONF_INC,
    HTTPD_SERVICE,
    HTTPD_LOG_D,
    HTTPD_INCLUDE_D,
    HTTPD_CONF_D,
    HTTPD_VHOSTS_D,
    PRODUCT_ROOT_D,
    _MAX_POSSIBLE_TVA_CONF_VAR_NAME
};

/* Loads the configuration file. Returns 0 if it is loaded, now or before; -1 if that fails, which
 * conf_read_file_r reports, or messlog2 ("Not enough memory to allocate Tolva runtime configuration
 * structure\n"). */
int autoprepend(void);

/* The file's value of the variable called name, or null if the file does not define it or cannot be
 * loaded. name must not be null; it need not be one of the variables above. */
const char* tvaConfGet(const char* name);

/* The same for the variable with that index, one of the above: index is not checked. */
const char* tvaConfGetByIndex(int index);

/* The same, with the compiled default where the file gives no value: never null. */
const char* tvaConfGetDefaultByIndex(int index);

/* The same by name; null, after messlog2 reports "variable '%s' isn't found neither in %s nor in
 * compile-time defaults\n" (name and file), for a name that is not one of those above, whether or
 * not the file defines it. _MAX_POSSIBLE_TVA_CONF_VAR_NAME counts as such a name. */
const char* tvaConfGetDefault(const char* name);

#ifdef __cplusplus
}
#endif

#endif
