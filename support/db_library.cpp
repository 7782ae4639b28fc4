// SPDX-License-Identifier: Apache-2.0

#include <mysql.h>
#include <nss.h>

#include <openssl/crypto.h>

#include "support/db.h"

namespace {

// The client library makes OpenSSL ready for TLS, which a local socket does without. Its
// configuration file and its tables of all ciphers and digests would take most of the time.
void keep_openssl_small() {
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ADD_ALL_CIPHERS |
                            OPENSSL_INIT_NO_ADD_ALL_DIGESTS,
                        nullptr);
}

// While it lives, a service is looked up nowhere: the client library asks for the port of "mysql",
// which a local socket does without, too. Depending on nsswitch.conf, that may ask a daemon, search
// the disk for plugins, or read a file line by line.
class NoServices {
  public:
    NoServices() { __nss_configure_lookup("services", "dns"); }  // which knows hosts only
    NoServices(const NoServices&) = delete;
    NoServices& operator=(const NoServices&) = delete;
    ~NoServices() { __nss_configure_lookup("services", "files"); }
};

}  // namespace

void db_library_init(void) {
    [[maybe_unused]] static const int result = [] {
        keep_openssl_small();
        const NoServices no_services;
        return mysql_library_init(0, nullptr, nullptr);
    }();
}
