// SPDX-License-Identifier: Apache-2.0

#include "support/exec_run.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "support/child_process.h"
#include "support/log.h"

namespace child = tolva::child;

namespace {

constexpr char kPossibleReason[] =
    ", possible reason - NULL parameter is absent in util_exec(path, arg1, arg2, NULL) call.\n";

void report_failed_util_exec(const char* /*path*/, int error) {
    child::say("Error occured during execv():\n", child::reason(error), kPossibleReason);
}

// The standard streams are not among what the caller may give away.
bool is_standard(int fd) {
    return fd >= 0 && fd <= 2;
}

// Waits for the end of the child and reports anything but a normal exit.
int watch(pid_t pid) {
    while (true) {
        int status = 0;
        if (waitpid(pid, &status, WUNTRACED) == -1) {
            if (errno == EINTR) {
                continue;
            }
            messlog2(0, 0, "Error occured during waiting the child process with pid: %d: %s\n", pid,
                     strerror(errno));
            return -1;
        }
        errno = 0;
        if (!WIFSTOPPED(status)) {
            if (WIFSIGNALED(status)) {
                messlog2(0, 0, "The child process with pid %d killed by signal %i\n", pid,
                         WTERMSIG(status));
            }
            return status;
        }
        messlog2(0, 0, "The child process with pid %d stopped by signal %i\n", pid,
                 WSTOPSIG(status));
    }
}

}  // namespace

int do_exec(const char* path, char* const argv[]) {
    const pid_t pid = child::start({}, path, argv);
    if (pid == -1) {
        messlog2(0, 0, "Unable to fork");
        return -1;
    }
    return child::wait_for(pid);
}

int path_exec(const char* path, ...) {
    va_list arguments;
    va_start(arguments, path);
    const int result =
        child::with_arguments(arguments, 0, [&](char** argv) { return do_exec(path, argv); });
    va_end(arguments);
    return result;
}

int fork_execv(const char* path, ...) {
    va_list arguments;
    va_start(arguments, path);
    const child::ArgumentVector argv = child::collect_arguments(arguments);
    va_end(arguments);
    const pid_t pid = argv != nullptr ? child::start({-1, -1, -1}, path, argv.get()) : -1;
    return pid != -1 ? child::wait_for(pid) : -1;
}

int fork_execv_fd(int fd_in, int fd_out, const char* path, char* const argv[]) {
    if (is_standard(fd_in) || is_standard(fd_out)) {
        errno = 0;
        messlog2(0, 0, "values 0,1,2 not allowed for variables fd_in & fd_out\n");
        errno = EINVAL;
        return -1;
    }
    const pid_t pid = child::start({fd_in, fd_out, 2}, path, argv, report_failed_util_exec);
    if (pid == -1) {
        messlog2(0, 0, "Error occured during fork():\n%s", strerror(errno));
        return -1;
    }
    return watch(pid);
}
