#include "support/exec_run.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::exited_with;
using testing_support::fail_fork;
using testing_support::has_children;
using testing_support::open_descriptors;

constexpr char kShell[] = "/bin/sh";

// The argument vector of a command of the shell.
class ShellCommand {
  public:
    explicit ShellCommand(const char* command)
        : words_{"sh", "-c", command},
          argv_{words_[0].data(), words_[1].data(), words_[2].data(), nullptr} {}
    char* const* argv() const { return argv_.data(); }

  private:
    std::array<std::string, 3> words_;
    std::array<char*, 4> argv_;
};

// The message with the process id behind mark, which differs from run to run, as "PID".
std::string without_pid(std::string message, const std::string& mark) {
    const size_t at = message.find(mark);
    if (at == std::string::npos) {
        return message;
    }
    const size_t begin = at + mark.size();
    return message.replace(begin, message.find_first_not_of("0123456789", begin) - begin, "PID");
}

TEST(DoExec, RunsTheProgramWithTheCallersStreamsAndGivesItsStatus) {
    const ChildRun run = status_in_child([] {
        const ShellCommand command("echo out; echo err >&2; exit 7");
        return exited_with(do_exec(kShell, command.argv()), 7) && !has_children() ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "out\n");
    EXPECT_EQ(run.err, "err\n");
}

TEST(DoExec, GivesTheSignalThatEndedTheProgram) {
    const ShellCommand command("kill -TERM $$");
    const int status = do_exec(kShell, command.argv());
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(DoExec, WaitsForItsOwnChildOnly) {
    const pid_t other = fork();
    if (other == 0) {
        _exit(3);
    }
    const ShellCommand command("exit 4");
    EXPECT_TRUE(exited_with(do_exec(kShell, command.argv()), 4));
    int status = -1;
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_TRUE(exited_with(status, 3));
}

TEST(DoExec, WaitsThroughSignals) {
    const ChildRun run = status_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const ShellCommand command("sleep 0.2; exit 5");
        return exited_with(do_exec(kShell, command.argv()), 5) ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
}

TEST(DoExec, AProgramThatCannotBeRunHasStatus255) {
    const ChildRun run = status_in_child([] {
        const ShellCommand command("exit 0");
        return exited_with(do_exec("/no/such/program", command.argv()), 255) ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "fork_execv: execv(\"/no/such/program\") failed: No such file or directory\n");
}

TEST(DoExec, AFailedForkIsReported) {
    const ChildRun run = status_in_child([] {
        fail_fork(EAGAIN);
        const ShellCommand command("exit 0");
        return do_exec(kShell, command.argv()) == -1 && errno == EAGAIN ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "Unable to fork\nSystem error 11: Resource temporarily unavailable\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(DoExec, AChildThatTheSystemWaitsForGivesMinusOne) {
    const ChildRun run = status_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        const ShellCommand command("exit 0");
        return do_exec(kShell, command.argv()) == -1 && errno == ECHILD ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
}

TEST(PathExec, RunsTheListOfArguments) {
    const ChildRun run =
        status_in_child([] { return path_exec("/bin/echo", "echo", "one", "two words", nullptr); });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "one two words\n");
}

TEST(PathExec, NoMemoryForTheArgumentsIsReported) {
    const ChildRun run = status_in_child([] {
        const FailingAllocation memory(1);
        return path_exec("/bin/echo", "echo", nullptr) == -1 && errno == ENOMEM ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "malloc() failed: Cannot allocate memory\nSystem error 12: Cannot allocate memory\n");
}

TEST(ForkExecv, RunsTheProgramWithNoStreamsAndGivesItsStatus) {
    const ChildRun run = status_in_child([] {
        return WEXITSTATUS(
            fork_execv(kShell, "sh", "-c", "echo out; echo err >&2; exit 9", nullptr));
    });
    EXPECT_EQ(run.status, 9);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_FALSE(has_children());
}

TEST(ForkExecv, ItsThreeStreamsAreDevNull) {
    EXPECT_TRUE(exited_with(fork_execv(kShell, "sh", "-c",
                                       "for fd in 0 1 2; do"
                                       " test \"$(readlink /proc/$$/fd/$fd)\" = /dev/null"
                                       " || exit 1; done; exit 8",
                                       nullptr),
                            8));
}

TEST(ForkExecv, ReportsNothing) {
    const ChildRun run = status_in_child([] {
        if (!exited_with(fork_execv("/no/such/program", "program", nullptr), 255)) {
            return 1;
        }
        {
            const FailingAllocation memory(1);
            if (fork_execv(kShell, "sh", nullptr) != -1 || errno != ENOMEM) {
                return 2;
            }
        }
        fail_fork(EAGAIN);
        return fork_execv(kShell, "sh", nullptr) == -1 && errno == EAGAIN ? 0 : 3;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExecvFd, ConnectsInputAndOutput) {
    const ChildRun run = status_in_child([] {
        const int in = open("/proc/self/comm", O_RDONLY);
        const int out = dup(1);
        const ShellCommand command("tr a-z x; echo err >&2; exit 6");
        const long before = open_descriptors();
        const int status = fork_execv_fd(in, out, kShell, command.argv());
        return exited_with(status, 6) && open_descriptors() == before ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find('x'), std::string::npos);
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExecvFd, MinusOneIsDevNull) {
    const ChildRun run = status_in_child([] {
        const ShellCommand command("cat; echo out");
        return fork_execv_fd(-1, -1, kShell, command.argv());
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
}

TEST(ForkExecvFd, RefusesTheStandardStreams) {
    const ChildRun run = status_in_child([] {
        const ShellCommand command("exit 0");
        for (const int fd : {0, 1, 2}) {
            errno = EIO;
            if (fork_execv_fd(fd, -1, kShell, command.argv()) != -1 || errno != EINVAL ||
                fork_execv_fd(-1, fd, kShell, command.argv()) != -1 || errno != EINVAL) {
                return 1;
            }
        }
        return 0;
    });
    EXPECT_EQ(run.status, 0);
    std::string expected;
    for (int i = 0; i < 6; ++i) {
        expected += "values 0,1,2 not allowed for variables fd_in & fd_out\n";
    }
    EXPECT_EQ(run.err, expected);
    EXPECT_EQ(run.out, expected);
}

TEST(ForkExecvFd, AFailedForkIsReported) {
    const ChildRun run = status_in_child([] {
        fail_fork(EAGAIN);
        const ShellCommand command("exit 0");
        return fork_execv_fd(-1, -1, kShell, command.argv()) == -1 && errno == EAGAIN ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "Error occured during fork():\nResource temporarily unavailable\n"
              "System error 11: Resource temporarily unavailable\n");
}

TEST(ForkExecvFd, AProgramThatCannotBeRunIsSaidByTheChild) {
    const ChildRun run = status_in_child([] {
        const ShellCommand command("exit 0");
        return exited_with(fork_execv_fd(-1, -1, "/no/such/program", command.argv()), 255) ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "Error occured during execv():\nNo such file or directory, possible reason - NULL "
              "parameter is absent in util_exec(path, arg1, arg2, NULL) call.\n");
}

TEST(ForkExecvFd, AFailedWaitIsReported) {
    const ChildRun run = status_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        const ShellCommand command("exit 0");
        return fork_execv_fd(-1, -1, kShell, command.argv()) == -1 && errno == ECHILD ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(without_pid(run.err, "pid: "),
              "Error occured during waiting the child process with pid: PID: No child processes\n\n"
              "System error 10: No child processes\n");
}

TEST(ForkExecvFd, ASignalThatEndsTheProgramIsReported) {
    const ChildRun run = status_in_child([] {
        errno = EIO;
        const ShellCommand command("kill -KILL $$");
        const int status = fork_execv_fd(-1, -1, kShell, command.argv());
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(without_pid(run.err, "pid "), "The child process with pid PID killed by signal 9\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(ForkExecvFd, AStoppedProgramIsReportedAndWaitedForFurther) {
    const ChildRun run = status_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const ShellCommand command("(sleep 0.3; kill -CONT $$) & kill -STOP $$; wait; exit 3");
        return exited_with(fork_execv_fd(-1, -1, kShell, command.argv()), 3) ? 0 : 1;
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(without_pid(run.err, "pid "),
              "The child process with pid PID stopped by signal 19\n");
}

}  // namespace
