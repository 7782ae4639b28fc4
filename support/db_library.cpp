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

// The client library looks up the port of the service "mysql", which a local socket does without,
// too. As nsswitch.conf has it, that may ask a daemon or search for plugins all over the disk.
void look_services_up_in_their_file() {
    __nss_configure_lookup("services", "files");
}

}  // namespace

void db_library_init(void) {
    [[maybe_unused]] static const int result = [] {
        keep_openssl_small();
        look_services_up_in_their_file();
        return mysql_library_init(0, nullptr, nullptr);
    }();
}
