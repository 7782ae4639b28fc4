// SPDX-License-Identifier: Apache-2.0

#include "core/run/run_start.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <array>
#include <string_view>

#include "core/run/signals.h"

namespace autoresponder {

namespace {

void open_standard_streams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) == -1) {
            // The lowest free descriptor is this one.
            [[maybe_unused]] const int opened = open("/dev/null", O_RDWR);
        }
    }
}

void drop_untrusted_environment() {
    if (getauxval(AT_SECURE) == 0) {
        return;
    }
    static std::array<char*, 2> kept{};  // no allocation, which could fail before anything is ready
    for (char** variable = environ; *variable != nullptr && kept[0] == nullptr; ++variable) {
        if (std::string_view(*variable).starts_with("RESP_RECIPIENT=")) {
            kept[0] = *variable;
        }
    }
    environ = kept.data();
}

}  // namespace

void prepare_run() {
    open_standard_streams();
    drop_untrusted_environment();
    handle_signals();
}

}  // namespace autoresponder
