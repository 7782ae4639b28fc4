#include "core/run_end.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <iterator>

namespace {

constexpr auto kResponseTemplate = std::to_array("/tmp/tva-response-uu-XXXXXX");

void remove_file(const char* name) noexcept {
    if (name[0] != '\0') {
        unlink(name);
    }
}

}  // namespace

char mail_file_name[] = "/tmp/tva-autoresponder-XXXXXX";
char resp_uu_file_name[] = "/tmp/tva-response-uu-XXXXXX";

void reset_resp_uu_file_name() {
    static_assert(sizeof(resp_uu_file_name) == kResponseTemplate.size());
    std::ranges::copy(kResponseTemplate, std::begin(resp_uu_file_name));
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
