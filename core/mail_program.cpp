#include "core/mail_program.h"

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

const char* recipient_objection(std::string_view address) {
    constexpr char last_control = 0x1F;
    constexpr char delete_control = 0x7F;

    if (address.starts_with('-')) {
        return "the address begins with a hyphen";
    }
    const bool has_control = std::ranges::any_of(
        address, [](char c) { return (c >= 0 && c <= last_control) || c == delete_control; });
    return has_control ? "the address holds a control character" : nullptr;
}

void wait_for_mail_program(pid_t pid) {
    while (waitpid(pid, nullptr, WUNTRACED) == -1 && errno == EINTR) {
    }
}
