#include "core/run_end.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>

namespace {

void remove_file(const char* name) noexcept {
    if (name[0] != '\0') {
        unlink(name);
    }
}

}  // namespace

char mail_file_name[] = "/tmp/tva-autoresponder-XXXXXX";
char resp_uu_file_name[] = "/tmp/tva-response-uu-XXXXXX";

void reset_resp_uu_file_name() {
    constexpr int random_letters = 6;
    std::fill_n(std::end(resp_uu_file_name) - 1 - random_letters, random_letters, 'X');
}

void remove_temporary_files() noexcept {
    remove_file(mail_file_name);
    remove_file(resp_uu_file_name);
}

void correct_exit() {
    remove_temporary_files();
    std::exit(EXIT_SUCCESS);
}

void end_run(std::string_view message) {
    std::cerr << message << std::endl;
    correct_exit();
}
