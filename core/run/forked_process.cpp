// SPDX-License-Identifier: Apache-2.0

#include "core/run/forked_process.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "support/descriptor.h"

namespace autoresponder {

namespace {

constexpr int kFailed = 255;

[[noreturn]] void run_child(const tolva::child::Streams& streams, pid_t parent,
                            const std::function<void()>& work) {
    if (!tolva::child::become_independent(streams)) {
        _exit(kFailed);
    }
    end_with(parent);
    try {
        work();
    } catch (...) {
        _exit(kFailed);  // or it would go on in the parent's place
    }
    // Neither destructors nor exit handlers: what they end is the parent's.
    _exit(EXIT_SUCCESS);
}

}  // namespace

tolva::Result<ForkedProcess> ForkedProcess::start(const tolva::child::Streams& streams,
                                                  const std::function<void()>& work) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        return tolva::Errno{errno};
    }
    if (child == 0) {
        run_child(streams, parent, work);
    }
    return ForkedProcess(child);
}

int ForkedProcess::wait() {
    const pid_t child = std::exchange(id_, kEnded);
    return child == kEnded ? -1 : tolva::child::wait_for(child);
}

int ForkedProcess::kill() {
    const pid_t child = std::exchange(id_, kEnded);
    int status = -1;
    if (child == kEnded || waitpid(child, &status, WNOHANG) != 0) {
        return status;
    }
    constexpr int most_milliseconds = 1000;
    ::kill(child, SIGKILL);
    const tolva::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    pollfd ended{end.get(), POLLIN, 0};
    poll(&ended, 1, most_milliseconds);
    waitpid(child, &status, WNOHANG);
    return status;
}

void end_with(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (getppid() != parent) {
        _exit(EXIT_SUCCESS);  // it ended before
    }
}

}  // namespace autoresponder
