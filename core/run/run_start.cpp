// SPDX-License-Identifier: Apache-2.0

#include "core/run/run_start.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "core/run/signals.h"
#include "core/run/temporary_files.h"

namespace autoresponder {

namespace {

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

tolva::Result<void> open_standard_streams(int access) {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free descriptor is this one.
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", access) == -1) {
            return tolva::Errno{errno};
        }
    }
    return {};
}

void prepare_run() {
    if (!open_standard_streams(O_RDWR)) {
        correct_exit();
    }
    drop_untrusted_environment();
    handle_signals();
}

}  // namespace autoresponder
