// SPDX-License-Identifier: Apache-2.0

#include "support/child_process.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/process_state.h"
#include "tests/unit/support/test_pipe.h"

namespace {

namespace child = tolva::child;

using testing_support::outcome;
using testing_support::TestPipe;

// A handler of the caller; a child that shares the caller's memory would count here, too.
int handled = 0;

void count_signal(int /*signal*/) {
    ++handled;
}

std::string end_of(pid_t pid) {
    return outcome(pid != -1 ? child::wait_for(pid) : -1);
}

const std::array<char*, 1> kNoArguments = {nullptr};

pid_t start_nothing(child::ExecFailureReport report) {
    return child::start({}, "/no/such/program", kNoArguments.data(), report);
}

TEST(ChildStart, NoHandlerOfTheCallersRunsWhileTheChildIsMade) {
    const ChildRun run = run_in_child([] {
        signal(SIGPIPE, count_signal);
        {
            TestPipe err;
            err.close_read_end();
            dup2(err.write_end(), STDERR_FILENO);
        }
        // Said to nobody: the write raises SIGPIPE.
        note(end_of(child::start({900, 1, 2}, "/bin/true", kNoArguments.data())));
        note("handled:", handled);
    });
    EXPECT_EQ(run.noted, "exit 255\nhandled: 0\n");
}

TEST(ChildStart, NoHandlerOfTheCallersRunsBeforeTheProgramDoes) {
    const ChildRun run = run_in_child([] {
        signal(SIGUSR1, count_signal);
        note(end_of(start_nothing([](const char*, int) { raise(SIGUSR1); })));
        note("handled:", handled);
    });
    EXPECT_EQ(run.noted, "signal 10\nhandled: 0\n");
}

TEST(ChildStart, LeavesTheCallersHandlersMaskAndErrno) {
    const ChildRun run = run_in_child([] {
        signal(SIGUSR1, count_signal);
        sigset_t mask;
        sigemptyset(&mask);
        sigaddset(&mask, SIGUSR2);
        sigprocmask(SIG_SETMASK, &mask, nullptr);
        errno = EXDEV;
        const pid_t pid = start_nothing([](const char*, int) {});
        note(testing_support::error_name());
        note(end_of(pid));
        sigset_t after;
        sigprocmask(SIG_SETMASK, nullptr, &after);
        note("blocked:", sigismember(&after, SIGUSR1), sigismember(&after, SIGUSR2));
        raise(SIGUSR1);
        note("handled:", handled);
    });
    EXPECT_EQ(run.noted, "EXDEV\nexit 255\nblocked: 0 1\nhandled: 1\n");
}

}  // namespace
