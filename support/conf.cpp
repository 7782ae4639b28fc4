// SPDX-License-Identifier: Apache-2.0

#include "support/conf.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "support/conf_table_handle.h"
#include "support/conf_variables.h"
#include "support/log.h"

namespace {

constexpr const char* kFile = "/etc/tva/tva.conf";
constexpr std::size_t kVariableCount = _MAX_POSSIBLE_TVA_CONF_VAR_NAME + 1;

struct Variable {
    const char* name;
    const char* default_value;
};

// In the order of the indices.
constexpr Variable kVariables[] = {
    {"_MIN_POSSIBLE_TVA_CONF_VAR_NAME", "_MIN_POSSIBLE_TVA_CONF_VAR_VALUE"},
    {"TOLVA_MAILNAMES_D", "/var/qmail/mailnames"},
    {"COURIER_IMAP_ROOT_D", "/"},
    {"RBLSMTPD", "/usr/sbin/rblsmtpd"},
    {"CGI_PHP_BIN", "dynamic"},
    {"CLIENT_PHP_BIN", "/opt/tva/bin/php-cli"},
    {"LIB_CRYPTO_PATH", "/lib/libcrypto.so"},
    {"LIB_SSL_PATH", "/lib/libssl.so"},
    {"AWSTATS_DOC_D", "/usr/share/awstats"},
    {"AWSTATS_TOOLS_D", "/usr/share/doc/awstats/examples"},
    {"AWSTATS_BIN_D", "/usr/lib/cgi-bin"},
    {"AWSTATS_ETC_D", "/etc/awstats"},
    {"CATALINA_HOME", "/usr/share/tomcat5.5"},
    {"MAILMAN_VAR_D", "/var/lib/mailman"},
    {"MAILMAN_ROOT_D", "/usr/lib/mailman"},
    {"PGSQL_DATA_D", "/var/lib/postgres/data"},
    {"PGSQL_BIN_D", "/usr/lib/postgresql/8.3/bin"},
    {"MYSQL_BIN_D", "/usr/bin"},
    {"MYSQL_VAR_D", "/var/lib/mysql"},
    {"LOGROTATE", "/opt/tva/logrotate/sbin/logrotate"},
    {"WEB_STAT", "/usr/bin/webalizer"},
    {"DUMP_D", "/var/lib/tva/dumps"},
    {"DUMP_TMP_D", "/tmp"},
    {"NAMED_RUN_ROOT_D", "/var/named/run-root"},
    {"FTPD_CONF_INC", "/etc/proftpd.include"},
    {"HTTPD_SERVICE", "apache2"},
    {"HTTPD_LOG_D", "/var/log/apache2"},
    {"HTTPD_INCLUDE_D", "/etc/apache2/conf.d"},
    {"HTTPD_CONF_D", "/etc/apache2"},
    {"HTTPD_VHOSTS_D", "/var/www/vhosts"},
    {"PRODUCT_ROOT_D", "/opt/tva"},
    {"_MAX_POSSIBLE_TVA_CONF_VAR_NAME", "_MAX_POSSIBLE_TVA_CONF_VAR_VALUE"},
};
static_assert(std::size(kVariables) == kVariableCount);

// Null until the file has been loaded; then kept to the end of the process.
conf_table* loaded = nullptr;
std::array<const char*, kVariableCount> values_by_index{};

}  // namespace

const char* tvaConfPath(void) {
    return kFile;
}

int autoprepend() {
    if (loaded != nullptr) {
        return 0;
    }
    tolva::ConfTableHandle table = tolva::new_conf_table();
    if (!table) {
        messlog2(0, 0, "Not enough memory to allocate Tolva runtime configuration structure\n");
        return -1;
    }
    if (conf_read_file_r(kFile, table.get()) != 0) {
        return -1;
    }
    loaded = table.release();
    return 0;
}

const char* tvaConfGet(const char* name) {
    return autoprepend() == 0 ? conf_get_r(name, loaded) : nullptr;
}

const char* tvaConfGetByIndex(int index) {
    const char*& value = values_by_index[static_cast<std::size_t>(index)];
    if (value == nullptr) {
        value = tvaConfGet(kVariables[index].name);
    }
    return value;
}

const char* tvaConfGetDefaultByIndex(int index) {
    const char* value = tvaConfGetByIndex(index);
    return value != nullptr ? value : kVariables[index].default_value;
}

const char* tvaConfGetDefault(const char* name) {
    for (int index = 0; index < _MAX_POSSIBLE_TVA_CONF_VAR_NAME; ++index) {
        if (std::strcmp(kVariables[index].name, name) == 0) {
            return tvaConfGetDefaultByIndex(index);
        }
    }
    messlog2(0, 0, "variable '%s' isn't found neither in %s nor in compile-time defaults\n", name,
             kFile);
    return nullptr;
}
