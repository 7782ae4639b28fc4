// SPDX-License-Identifier: Apache-2.0
#include "core/run/temporary_files.h"

#include <unistd.h>

#include <cstdlib>

namespace autoresponder {

namespace {

void remove_file(const char* name) noexcept {
    if (name[0] != '\0') {
        unlink(name);
    }
}

}  // namespace

char mail_file_name[] = "/tmp/tva-autoresponder-XXXXXX";
char resp_uu_file_name[] = "/tmp/tva-response-uu-XXXXXX";

void remove_temporary_files() noexcept {
    remove_file(mail_file_name);
    remove_file(resp_uu_file_name);
}

void correct_exit() {
    remove_temporary_files();
    std::exit(EXIT_SUCCESS);
}

}  // namespace autoresponder
