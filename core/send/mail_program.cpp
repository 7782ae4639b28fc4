// SPDX-License-Identifier: Apache-2.0

#include "core/send/mail_program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "support/ascii.h"
#include "support/exec.h"

namespace autoresponder {

tolva::Result<MailProgram> MailProgram::start(const tolva::Descriptor& input,
                                              const std::string& sender,
                                              const std::string& recipient) {
    return started(fork_execl_pipes(input.get(), STDOUT_FILENO, STDERR_FILENO, kPath, kPath, "-f",
                                    sender.c_str(), recipient.c_str(),
                                    static_cast<char*>(nullptr)));
}

tolva::Result<MailProgram> MailProgram::start(const tolva::Descriptor& input,
                                              const std::string& sender,
                                              const std::vector<std::string>& recipients) {
    std::vector<const char*> arguments = {kPath, "-f", sender.c_str()};
    for (const std::string& recipient : recipients) {
        arguments.push_back(recipient.c_str());
    }
    arguments.push_back(nullptr);
    // execv(3) does not write to the arguments.
    return started(fork_execv_pipes(input.get(), STDOUT_FILENO, STDERR_FILENO, kPath,
                                    const_cast<char* const*>(arguments.data())));
}

tolva::Result<MailProgram> MailProgram::started(pid_t pid) {
    if (pid < 0) {
        return tolva::Errno{errno};
    }
    return MailProgram(pid);
}

int MailProgram::wait() {
    const pid_t pid = std::exchange(pid_, kEnded);
    int status = 0;
    if (pid == kEnded || TEMP_FAILURE_RETRY(waitpid(pid, &status, WUNTRACED)) < 0) {
        return 0;
    }
    return status;
}

std::string bad_status(int status) {
    if (WIFSIGNALED(status)) {
        return "was ended by signal " + std::to_string(WTERMSIG(status));
    }
    if (WIFSTOPPED(status)) {
        return "was stopped by signal " + std::to_string(WSTOPSIG(status));
    }
    return status != 0 ? "ended with status " + std::to_string(WEXITSTATUS(status)) : "";
}

const char* recipient_objection(std::string_view address) {
    if (address.starts_with('-')) {
        return "the address begins with a hyphen";
    }
    return tolva::has_control_character(address) ? "the address holds a control character"
                                                 : nullptr;
}

}  // namespace autoresponder
