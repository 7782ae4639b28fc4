// SPDX-License-Identifier: Apache-2.0

#include "core/run/forked_process.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace autoresponder {

namespace {

constexpr int kNotIndependent = 255;

[[noreturn]] void run_child(const tolva::child::Streams& streams, pid_t parent,
                            const std::function<void()>& work) {
    if (!tolva::child::become_independent(streams)) {
        _exit(kNotIndependent);
    }
    end_with(parent);
    work();
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

void ForkedProcess::kill() {
    const pid_t child = std::exchange(id_, kEnded);
    if (child == kEnded || ::kill(child, SIGKILL) != 0) {
        return;
    }
    // A moment is enough for one that can end at all.
    constexpr useconds_t moment = 1000;
    constexpr int moments = 100;
    for (int i = 0; i < moments && waitpid(child, nullptr, WNOHANG) == 0; ++i) {
        usleep(moment);
    }
}

void end_with(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
    if (getppid() != parent) {
        _exit(EXIT_SUCCESS);  // it ended before
    }
}

}  // namespace autoresponder
