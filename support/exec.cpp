// SPDX-License-Identifier: Apache-2.0

#include "support/exec.h"

#include <sys/types.h>

#include <cstdarg>

#include "support/child_process.h"

namespace child = tolva::child;

int fork_execv_pipes(int fd_in, int fd_out, int fd_err, const char* path, char* const argv[]) {
    const pid_t pid = child::start({fd_in, fd_out, fd_err}, path, argv);
    if (pid == -1) {
        child::report_failed_fork(1);
    }
    return pid;
}

int fork_execl_pipes(int fd_in, int fd_out, int fd_err, const char* path, ...) {
    va_list arguments;
    va_start(arguments, path);
    const int result = child::with_arguments(arguments, 1, [&](char** argv) {
        return fork_execv_pipes(fd_in, fd_out, fd_err, path, argv);
    });
    va_end(arguments);
    return result;
}
