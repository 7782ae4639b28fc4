#include "core/mail_program.h"

#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

const char* recipient_objection(std::string_view address) {
    if (address.starts_with('-')) {
        return "the address begins with a hyphen";
    }
    const bool has_control =
        std::ranges::any_of(address, [](unsigned char c) { return std::iscntrl(c) != 0; });
    return has_control ? "the address holds a control character" : nullptr;
}

void wait_for_mail_program(pid_t pid) {
    while (waitpid(pid, nullptr, WUNTRACED) == -1 && errno == EINTR) {
    }
}
