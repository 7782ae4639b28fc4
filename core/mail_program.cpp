#include "core/mail_program.h"

#include <sys/wait.h>

#include <cerrno>

bool is_safe_recipient(const std::string& address) {
    return !address.starts_with('-');
}

void wait_for_mail_program(pid_t pid) {
    while (waitpid(pid, nullptr, WUNTRACED) == -1 && errno == EINTR) {
    }
}
