/* SPDX-License-Identifier: Apache-2.0 */

/* The indices of the panel's installation paths (support/conf.h).
 *
 * They have a header of their own because C can put them only in the global namespace: only the
 * files that ask for a variable by its index get names like LOGROTATE.
 */
#ifndef SUPPORT_CONF_VARIABLES_H
#define SUPPORT_CONF_VARIABLES_H

/* The variables that have a compiled default. The first and the last one mark the bounds and name
 * no variable. */
enum tva_conf_variable {
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

#endif
