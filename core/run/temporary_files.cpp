// SPDX-License-Identifier: Apache-2.0

#include "core/run/temporary_files.h"

#include <unistd.h>

#include <cstdlib>
#include <initializer_list>

namespace autoresponder {

char mail_file_name[] = "/tmp/tva-autoresponder-XXXXXX";
char resp_uu_file_name[] = "/tmp/tva-response-uu-XXXXXX";

void remove_temporary_files() noexcept {
    for (const char* name : {mail_file_name, resp_uu_file_name}) {
        if (name[0] != '\0') {
            unlink(name);
        }
    }
}

void correct_exit() {
    remove_temporary_files();
    std::exit(EXIT_SUCCESS);
}

}  // namespace autoresponder
