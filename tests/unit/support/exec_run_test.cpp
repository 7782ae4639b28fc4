// SPDX-License-Identifier: Apache-2.0

#include "support/exec_run.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/process_state.h"
#include "tests/unit/support/shell_command.h"

namespace {

using testing_support::fail_fork;
using testing_support::has_children;
using testing_support::open_descriptors;
using testing_support::outcome;
using testing_support::ShellCommand;

constexpr char kShell[] = "/bin/sh";

// The message with the process id after mark, which differs from run to run, as "PID".
std::string without_pid(std::string message, const std::string& mark) {
    const size_t at = message.find(mark);
    if (at == std::string::npos) {
        return message;
    }
    const size_t begin = at + mark.size();
    return message.replace(begin, message.find_first_not_of("0123456789", begin) - begin, "PID");
}

TEST(DoExec, RunsTheProgramWithTheCallersStreamsAndReturnsItsStatus) {
    const ChildRun run = run_in_child([] {
        const ShellCommand command("echo out; echo err >&2; exit 7");
        note(outcome(do_exec(kShell, command.argv())));
        note("children:", has_children());
    });
    EXPECT_EQ(run.noted, "exit 7\nchildren: false\n");
    EXPECT_EQ(run.out, "out\n");
    EXPECT_EQ(run.err, "err\n");
}

TEST(DoExec, ReturnsTheSignalThatEndedTheProgram) {
    const ShellCommand command("kill -TERM $$");
    EXPECT_EQ(outcome(do_exec(kShell, command.argv())), "signal 15");
}

TEST(DoExec, WaitsForItsOwnChildOnly) {
    const pid_t other = fork();
    if (other == 0) {
        _exit(3);
    }
    const ShellCommand command("exit 4");
    EXPECT_EQ(outcome(do_exec(kShell, command.argv())), "exit 4");
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(outcome(status), "exit 3");
}

TEST(DoExec, WaitsThroughSignals) {
    const ChildRun run = run_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const ShellCommand command("sleep 0.2; exit 5");
        note(outcome(do_exec(kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "exit 5\n");
}

TEST(DoExec, WaitsThroughAStopOfTheProgram) {
    const ShellCommand command(
        "(until grep -q '^State:.T' /proc/$$/status; do :; done; kill -CONT $$) &"
        " kill -STOP $$; wait; exit 6");
    EXPECT_EQ(outcome(do_exec(kShell, command.argv())), "exit 6");
}

TEST(DoExec, AProgramThatCannotBeRunHasStatus255) {
    const ChildRun run = run_in_child([] {
        const ShellCommand command("exit 0");
        note(outcome(do_exec("/no/such/program", command.argv())));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err,
              "fork_execv: execv(\"/no/such/program\") failed: No such file or directory\n");
}

TEST(DoExec, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(EAGAIN);
        const ShellCommand command("exit 0");
        note(outcome(do_exec(kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "-1 EAGAIN\n");
    EXPECT_EQ(run.err, "Unable to fork\nSystem error 11: Resource temporarily unavailable\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(DoExec, AChildThatTheSystemWaitsForYieldsMinusOne) {
    const ChildRun run = run_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        const ShellCommand command("exit 0");
        note(outcome(do_exec(kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "-1 ECHILD\n");
}

TEST(PathExec, RunsTheListOfArguments) {
    const ChildRun run = run_in_child(
        [] { note(outcome(path_exec("/bin/echo", "echo", "one", "two words", nullptr))); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "one two words\n");
}

TEST(PathExec, NoMemoryForTheArgumentsIsReported) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        note(outcome(path_exec("/bin/echo", "echo", nullptr)));
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM\n");
    EXPECT_EQ(run.err,
              "malloc() failed: Cannot allocate memory\nSystem error 12: Cannot allocate memory\n");
}

TEST(ForkExecv, RunsTheProgramWithNoStreamsAndReturnsItsStatus) {
    const ChildRun run = run_in_child([] {
        note(outcome(fork_execv(kShell, "sh", "-c", "echo out; echo err >&2; exit 9", nullptr)));
        note("children:", has_children());
    });
    EXPECT_EQ(run.noted, "exit 9\nchildren: false\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExecv, ItsThreeStreamsAreDevNull) {
    const int status = fork_execv(kShell, "sh", "-c",
                                  "for fd in 0 1 2; do"
                                  " test \"$(readlink /proc/$$/fd/$fd)\" = /dev/null"
                                  " || exit $fd; done; exit 8",
                                  nullptr);
    EXPECT_EQ(outcome(status), "exit 8");
}

TEST(ForkExecv, ReportsNothing) {
    const ChildRun run = run_in_child([] {
        note(outcome(fork_execv("/no/such/program", "program", nullptr)));
        {
            const FailingAllocation memory(1);
            note(outcome(fork_execv(kShell, "sh", nullptr)));
        }
        fail_fork(EAGAIN);
        note(outcome(fork_execv(kShell, "sh", nullptr)));
    });
    EXPECT_EQ(run.noted, "exit 255\n-1 ENOMEM\n-1 EAGAIN\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExecvFd, ConnectsInputAndOutput) {
    const ChildRun run = run_in_child([] {
        const int in = open("/proc/self/comm", O_RDONLY);
        const int out = dup(1);
        const ShellCommand command("tr a-z x; echo err >&2; exit 6");
        const long before = open_descriptors();
        note(outcome(fork_execv_fd(in, out, kShell, command.argv())));
        note("descriptors:", open_descriptors() - before);
    });
    EXPECT_EQ(run.noted, "exit 6\ndescriptors: 0\n");
    EXPECT_NE(run.out.find('x'), std::string::npos);
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExecvFd, MinusOneIsDevNull) {
    const ChildRun run = run_in_child([] {
        const ShellCommand command("cat; echo out");
        note(outcome(fork_execv_fd(-1, -1, kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "");
}

TEST(ForkExecvFd, RefusesTheStandardStreams) {
    const ChildRun run = run_in_child([] {
        const ShellCommand command("exit 0");
        for (const int fd : {0, 1, 2}) {
            errno = EIO;
            note(outcome(fork_execv_fd(fd, -1, kShell, command.argv())));
            errno = EIO;
            note(outcome(fork_execv_fd(-1, fd, kShell, command.argv())));
        }
    });
    std::string refused;
    std::string expected;
    for (int i = 0; i < 6; ++i) {
        refused += "-1 EINVAL\n";
        expected += "values 0,1,2 not allowed for variables fd_in & fd_out\n";
    }
    EXPECT_EQ(run.noted, refused);
    EXPECT_EQ(run.err, expected);
    EXPECT_EQ(run.out, expected);
}

TEST(ForkExecvFd, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(EAGAIN);
        const ShellCommand command("exit 0");
        note(outcome(fork_execv_fd(-1, -1, kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "-1 EAGAIN\n");
    EXPECT_EQ(run.err,
              "Error occured during fork():\nResource temporarily unavailable\n"
              "System error 11: Resource temporarily unavailable\n");
}

TEST(ForkExecvFd, AProgramThatCannotBeRunIsSaidByTheChild) {
    const ChildRun run = run_in_child([] {
        const ShellCommand command("exit 0");
        note(outcome(fork_execv_fd(-1, -1, "/no/such/program", command.argv())));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err,
              "Error occured during execv():\nNo such file or directory, possible reason - NULL "
              "parameter is absent in util_exec(path, arg1, arg2, NULL) call.\n");
}

TEST(ForkExecvFd, AFailedWaitIsReported) {
    const ChildRun run = run_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        const ShellCommand command("exit 0");
        note(outcome(fork_execv_fd(-1, -1, kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "-1 ECHILD\n");
    EXPECT_EQ(without_pid(run.err, "pid: "),
              "Error occured during waiting the child process with pid: PID: No child processes\n\n"
              "System error 10: No child processes\n");
}

TEST(ForkExecvFd, ASignalThatEndsTheProgramIsReported) {
    const ChildRun run = run_in_child([] {
        errno = EIO;
        const ShellCommand command("kill -KILL $$");
        note(outcome(fork_execv_fd(-1, -1, kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "signal 9\n");
    EXPECT_EQ(without_pid(run.err, "pid "), "The child process with pid PID killed by signal 9\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(ForkExecvFd, AStoppedProgramIsReportedAndWaitedForFurther) {
    const ChildRun run = run_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const ShellCommand command("(sleep 0.3; kill -CONT $$) & kill -STOP $$; wait; exit 3");
        note(outcome(fork_execv_fd(-1, -1, kShell, command.argv())));
    });
    EXPECT_EQ(run.noted, "exit 3\n");
    EXPECT_EQ(without_pid(run.err, "pid "),
              "The child process with pid PID stopped by signal 19\n");
}

}  // namespace
