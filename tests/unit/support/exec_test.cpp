// SPDX-License-Identifier: Apache-2.0

#include "support/exec.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/process_state.h"
#include "tests/unit/support/test_pipe.h"

namespace {

using testing_support::fail_system_call;
using testing_support::open_descriptors;
using testing_support::outcome;
using testing_support::TestPipe;

constexpr char kShell[] = "/bin/sh";

// How the child ended, or why there is none.
std::string end_of(pid_t pid) {
    int status = -1;
    if (pid != -1) {
        waitpid(pid, &status, 0);
    }
    return outcome(status);
}

// Runs a command of the shell with the streams given, to its end.
std::string run_shell(int in, int out, int err, const char* command) {
    return end_of(fork_execl_pipes(in, out, err, kShell, "sh", "-c", command, nullptr));
}

TEST(ForkExeclPipes, GivesTheChildTheCallersDescriptors) {
    TestPipe in;
    TestPipe out;
    TestPipe err;
    ASSERT_EQ(write(in.write_end(), "question\n", 9), 9);
    EXPECT_EQ(run_shell(in.read_end(), out.write_end(), err.write_end(),
                        "read word; echo \"out $word\"; echo \"err $word\" >&2; exit 7"),
              "exit 7");
    EXPECT_EQ(out.text(), "out question\n");
    EXPECT_EQ(err.text(), "err question\n");
}

TEST(ForkExeclPipes, LeavesTheCallersDescriptorsOpen) {
    TestPipe out;
    const long before = open_descriptors();
    EXPECT_EQ(run_shell(-1, out.write_end(), 2, "exit 0"), "exit 0");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(fcntl(out.write_end(), F_GETFD), FD_CLOEXEC);
}

TEST(ForkExeclPipes, PassesEveryArgument) {
    TestPipe out;
    const pid_t pid =
        fork_execl_pipes(0, out.write_end(), 2, kShell, "own name", "-c",
                         "printf '%s\\n' \"$0\" \"$@\"", "zero", "", "two words", nullptr);
    EXPECT_EQ(end_of(pid), "exit 0");
    EXPECT_EQ(out.text(), "zero\n\ntwo words\n");
}

TEST(ForkExeclPipes, DoesNotWaitForTheChild) {
    TestPipe in;
    const pid_t pid = fork_execl_pipes(in.read_end(), 1, 2, kShell, "sh", "-c", "read x", nullptr);
    ASSERT_GT(pid, 0);
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), 0);
    ASSERT_EQ(write(in.write_end(), "\n", 1), 1);
    EXPECT_EQ(end_of(pid), "exit 0");
}

TEST(ForkExeclPipes, AListOfOnlyTheNullPointerIsAnEmptyVector) {
    TestPipe in;
    TestPipe out;
    const std::string script = "echo \"$# arguments\"\n";
    ASSERT_EQ(write(in.write_end(), script.data(), script.size()),
              static_cast<ssize_t>(script.size()));
    const pid_t pid = fork_execl_pipes(in.read_end(), out.write_end(), 2, kShell, nullptr);
    in.close_write_end();
    EXPECT_EQ(end_of(pid), "exit 0");
    EXPECT_EQ(out.text(), "0 arguments\n");
}

TEST(ForkExecvPipes, TakesTheVectorAsItIs) {
    TestPipe out;
    std::string name = "echo";
    std::string word = "word";
    const std::array<char*, 3> argv = {name.data(), word.data(), nullptr};
    EXPECT_EQ(end_of(fork_execv_pipes(0, out.write_end(), 2, "/bin/echo", argv.data())), "exit 0");
    EXPECT_EQ(out.text(), "word\n");
}

TEST(ForkExecvPipes, MinusOneForInputIsEndOfFileAtOnce) {
    TestPipe out;
    EXPECT_EQ(run_shell(-1, out.write_end(), 2, "cat; readlink /proc/self/fd/0"), "exit 0");
    EXPECT_EQ(out.text(), "/dev/null\n");
}

TEST(ForkExecvPipes, MinusOneForOutputAndErrorDiscardsWhatIsWritten) {
    const ChildRun run = run_in_child([] { note(run_shell(0, -1, -1, "echo out; echo err >&2")); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExecvPipes, TheNumberOfTheStreamItselfInheritsIt) {
    const ChildRun run = run_in_child([] { note(run_shell(0, 1, 2, "echo out; echo err >&2")); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "out\n");
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExecvPipes, StandardDescriptorsCanChangePlaces) {
    const ChildRun run = run_in_child([] { note(run_shell(-1, 2, 1, "echo out; echo err >&2")); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "err\n");
    EXPECT_EQ(run.err, "out\n");
}

TEST(ForkExecvPipes, AStreamTakenFromAnInheritedOneLeavesThatInPlace) {
    const ChildRun run =
        run_in_child([] { note(run_shell(1, 1, 2, "readlink /proc/self/fd/0 >&2; echo out")); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "out\n");
    EXPECT_EQ(run.err.substr(0, 7), "/memfd:");
}

TEST(ForkExecvPipes, DevNullWorksWhereTheCallersStreamsAreClosed) {
    const ChildRun run = run_in_child([] {
        close(0);
        note(run_shell(-1, 1, 2, "readlink /proc/self/fd/0"));
    });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "/dev/null\n");

    const ChildRun all_closed = run_in_child([] {
        close(0);
        close(1);
        close(2);
        note(run_shell(
            -1, -1, -1,
            "for fd in 0 1 2; do"
            " test \"$(readlink /proc/$$/fd/$fd)\" = /dev/null || exit $fd; done; exit 8"));
    });
    EXPECT_EQ(all_closed.noted, "exit 8\n");
}

TEST(ForkExecvPipes, TheSameDescriptorForTwoStreamsFailsInTheChild) {
    const ChildRun run = run_in_child([] {
        TestPipe both;
        note(run_shell(0, both.write_end(), both.write_end(), "exit 0"));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, "fork_execv: dup() failed: Bad file descriptor\n");
    EXPECT_EQ(run.out, "");
}

TEST(ForkExecvPipes, ADescriptorThatIsNotOpenFailsInTheChild) {
    const ChildRun run = run_in_child([] { note(run_shell(900, 1, 2, "exit 0")); });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, "fork_execv: dup() failed: Bad file descriptor\n");

    const ChildRun moved = run_in_child([] {
        close(0);
        note(run_shell(-1, 0, 2, "exit 0"));
    });
    EXPECT_EQ(moved.noted, "exit 255\n");
    EXPECT_EQ(moved.err, "fork_execv: dup() failed: Bad file descriptor\n");
}

TEST(ForkExecvPipes, StandardErrorIsConnectedLast) {
    for (const bool input_is_open : {false, true}) {
        const ChildRun run = run_in_child([input_is_open] {
            TestPipe err;
            const int closed = 900;
            const int in = input_is_open ? 0 : closed;
            note(run_shell(in, closed, err.write_end(), "exit 0"));
            note(err.text());
        });
        EXPECT_EQ(run.noted, "exit 255\n\n");
        EXPECT_EQ(run.err, "fork_execv: dup() failed: Bad file descriptor\n");
    }
}

// The reasons tell which stream it was: a closed descriptor, or no descriptor for /dev/null.
TEST(ForkExecvPipes, StandardInputIsConnectedBeforeStandardOutput) {
    const auto failure_with = [](int in, int out) {
        return run_in_child([in, out] {
                   const testing_support::NoMoreDescriptors limit;
                   run_shell(in, out, 2, "exit 0");
               })
            .err;
    };
    EXPECT_EQ(failure_with(900, -1), "fork_execv: dup() failed: Bad file descriptor\n");
    EXPECT_EQ(failure_with(-1, 900), "fork_execv: dup() failed: Too many open files\n");
}

// The descriptor is closed in any case, which must not change the reason.
TEST(ForkExecvPipes, AFailedDupIsReportedWithItsOwnReasonWhereClosingFailsToo) {
    const ChildRun run = run_in_child([] {
        testing_support::fail_system_call(SYS_close, EIO);
        note(run_shell(900, 1, 2, "exit 0"));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, "fork_execv: dup() failed: Bad file descriptor\n");
}

TEST(ForkExecvPipes, AnErrorWithoutADescriptionIsUnknown) {
    const ChildRun run = run_in_child([] {
        testing_support::fail_system_call(SYS_execve, 4000);
        note(run_shell(0, 1, 2, "exit 0"));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, "fork_execv: execv(\"/bin/sh\") failed: Unknown error\n");
}

TEST(ForkExecvPipes, AFailedOpenOfDevNullIsReportedAsAFailedDup) {
    const ChildRun run = run_in_child([] {
        std::string end;
        {
            const testing_support::NoMoreDescriptors limit;
            end = run_shell(-1, 1, 2, "exit 0");
        }
        note(end);
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, "fork_execv: dup() failed: Too many open files\n");
}

TEST(ForkExecvPipes, APathThatDoesNotExistIsSaidByTheChild) {
    const ChildRun run = run_in_child(
        [] { note(end_of(fork_execl_pipes(0, 1, 2, "/no/such/program", "program", nullptr))); });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err,
              "fork_execv: execv(\"/no/such/program\") failed: No such file or directory\n");
    EXPECT_EQ(run.out, "");
}

TEST(ForkExecvPipes, ThatMessageGoesToTheStandardErrorOfTheChild) {
    TestPipe err;
    EXPECT_EQ(end_of(fork_execl_pipes(0, 1, err.write_end(), "/", "program", nullptr)), "exit 255");
    EXPECT_EQ(err.text(), "fork_execv: execv(\"/\") failed: Permission denied\n");
}

TEST(ForkExecvPipes, APathOfAnyLengthIsSaidWhole) {
    const std::string path(20000, 'x');
    TestPipe err;
    EXPECT_EQ(end_of(fork_execl_pipes(0, 1, err.write_end(), path.c_str(), "x", nullptr)),
              "exit 255");
    EXPECT_EQ(err.text(), "fork_execv: execv(\"" + path + "\") failed: File name too long\n");
}

TEST(ForkExecvPipes, ANullPathFailsLikeAWrongOne) {
    TestPipe err;
    const std::array<char*, 1> argv = {nullptr};
    EXPECT_EQ(end_of(fork_execv_pipes(0, 1, err.write_end(), nullptr, argv.data())), "exit 255");
    EXPECT_EQ(err.text(), "fork_execv: execv(\"(null)\") failed: Bad address\n");
}

void write_goodbye() {
    std::printf("goodbye\n");
}

TEST(ForkExecvPipes, AFailedChildRunsAndWritesNothingOfTheCaller) {
    const ChildRun run = run_in_child([] {
        std::atexit(write_goodbye);
        std::printf("pending\n");
        note(end_of(fork_execl_pipes(0, 1, 2, "/no/such/program", "program", nullptr)));
    });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.out, "pending\ngoodbye\n");
}

// The descriptor of the listing itself is gone when its entries are looked at.
constexpr char kListDescriptors[] =
    "for fd in /proc/self/fd/*; do test -e $fd && echo -n \"${fd##*/} \"; done; exit 0";

void list_descriptors_beside_a_secret() {
    const int secret = open("/dev/zero", O_RDONLY);
    const int high = fcntl(secret, F_DUPFD, 500);
    constexpr int first_other = 3;
    if (fcntl(first_other, F_SETFD, 0) == -1) {  // open, whosever it is
        dup2(secret, first_other);
    }
    run_shell(0, 1, 2, kListDescriptors);
    close(secret);
    close(high);
}

TEST(ForkExecvPipes, NoOtherDescriptorReachesTheProgram) {
    const ChildRun run = run_in_child(list_descriptors_beside_a_secret);
    EXPECT_EQ(run.out, "0 1 2 ");
}

TEST(ForkExecvPipes, NoOtherDescriptorReachesTheProgramWithoutCloseRange) {
    const ChildRun run = run_in_child([] {
        fail_system_call(SYS_close_range, ENOSYS);
        list_descriptors_beside_a_secret();
    });
    EXPECT_EQ(run.out, "0 1 2 ");
}

TEST(ForkExecvPipes, NoOtherDescriptorReachesTheProgramWithoutProc) {
    const ChildRun run = run_in_child([] {
        fail_system_call(SYS_close_range, ENOSYS);
        const int secret = open("/dev/zero", O_RDONLY);
        const int high = fcntl(secret, F_DUPFD, 500);
        fail_system_call(SYS_getdents64, ENOSYS);
        run_shell(0, 1, 2,
                  "for fd in 0 1 2 3 4 5 6 7 500; do"
                  " test -e /proc/self/fd/$fd && echo -n \"$fd \"; done; exit 0");
        close(high);
        close(secret);
    });
    EXPECT_EQ(run.out, "0 1 2 ");
}

// A child that counted up to the limit would come by descriptor 240.
void start_without_counting() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    testing_support::forbid_system_call_with(SYS_close, 240);
    note(run_shell(0, 1, 2, "exit 0"));
}

TEST(ForkExecvPipes, AHighDescriptorLimitDoesNotMakeAStartDearer) {
    EXPECT_EQ(run_in_child(start_without_counting).noted, "exit 0\n");
}

TEST(ForkExecvPipes, AHighDescriptorLimitDoesNotMakeAStartDearerWithoutCloseRange) {
    const ChildRun run = run_in_child([] {
        fail_system_call(SYS_close_range, ENOSYS);
        start_without_counting();
    });
    EXPECT_EQ(run.noted, "exit 0\n");
}

TEST(ForkExecvPipes, TheProgramStartsWithSigpipeAtItsDefault) {
    const ChildRun run = run_in_child([] {
        signal(SIGPIPE, SIG_IGN);
        signal(SIGUSR1, SIG_IGN);
        run_shell(0, 1, 2, "grep SigIgn /proc/self/status");
    });
    EXPECT_EQ(run.out, "SigIgn:\t0000000000000200\n");
}

// Not asked through a shell, which may set a mask of its own.
constexpr char kOwnStatus[] = "/proc/self/status";

TEST(ForkExecvPipes, TheProgramHasTheSignalMaskOfTheCaller) {
    const ChildRun run = run_in_child([] {
        sigset_t mask;
        sigemptyset(&mask);
        sigprocmask(SIG_SETMASK, &mask, nullptr);
        end_of(fork_execl_pipes(0, 1, 2, "/bin/grep", "grep", "SigBlk", kOwnStatus, nullptr));
        sigaddset(&mask, SIGUSR1);
        sigprocmask(SIG_SETMASK, &mask, nullptr);
        end_of(fork_execl_pipes(0, 1, 2, "/bin/grep", "grep", "SigBlk", kOwnStatus, nullptr));
    });
    EXPECT_EQ(run.out, "SigBlk:\t0000000000000000\nSigBlk:\t0000000000000200\n");
}

const char* const kForkMessage =
    "tool: fork_execv_pipes: fork() failed\n"
    "System error 11: Resource temporarily unavailable\n";

TEST(ForkExecvPipes, AFailedForkEndsTheProcessWithStatus1) {
    const ChildRun run = run_in_child([] {
        PROGNAME = "/usr/local/bin/tool";
        testing_support::fail_fork(EAGAIN);
        fork_execl_pipes(0, 1, 2, kShell, "sh", nullptr);
        note("returned");
    });
    EXPECT_EQ(run.noted, "");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, kForkMessage);
    EXPECT_EQ(run.out, kForkMessage);
}

void note_status(int status) {
    note("end", status);
}

TEST(ForkExecvPipes, AFailedForkYieldsMinusOneAndItsErrnoWhereTheProcessGoesOn) {
    const ChildRun run = run_in_child([] {
        PROGNAME = "/usr/local/bin/tool";
        messlog_set_end(note_status);
        const long before = open_descriptors();
        testing_support::fail_fork(EAGAIN);
        note(outcome(fork_execl_pipes(0, 1, 2, kShell, "sh", nullptr)));
        note("descriptors:", open_descriptors() - before);
    });
    EXPECT_EQ(run.noted, "end 1\n-1 EAGAIN\ndescriptors: 0\n");
    EXPECT_EQ(run.err, kForkMessage);
}

TEST(ForkExecvPipes, AForkFailsForRealAtTheProcessLimit) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "takes root, to become a user without processes";
    }
    const ChildRun run = run_in_child([] {
        messlog_set_end(note_status);
        rlimit limit{};
        getrlimit(RLIMIT_NPROC, &limit);
        const rlimit none = {0, limit.rlim_max};
        note(setuid(61111), setrlimit(RLIMIT_NPROC, &none));
        note(outcome(fork_execl_pipes(0, 1, 2, kShell, "sh", nullptr)));
        setrlimit(RLIMIT_NPROC, &limit);
        prctl(PR_SET_DUMPABLE, 1);  // a sanitizer looks at its process when it ends
    });
    EXPECT_EQ(run.noted, "0 0\nend 1\n-1 EAGAIN\n");
}

const char* const kMallocMessage =
    "malloc() failed: Cannot allocate memory\n"
    "System error 12: Cannot allocate memory\n";

TEST(ForkExeclPipes, NoMemoryForTheArgumentsEndsTheProcessWithStatus1) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        fork_execl_pipes(0, 1, 2, kShell, "sh", nullptr);
        note("returned");
    });
    EXPECT_EQ(run.noted, "");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, kMallocMessage);
    EXPECT_EQ(run.out, kMallocMessage);
}

TEST(ForkExeclPipes, NoMemoryForTheArgumentsYieldsMinusOneWhereTheProcessGoesOn) {
    const ChildRun run = run_in_child([] {
        messlog_set_end(note_status);
        const FailingAllocation memory(1);
        note(outcome(fork_execl_pipes(0, 1, 2, kShell, "sh", nullptr)));
    });
    EXPECT_EQ(run.noted, "end 1\n-1 ENOMEM\n");
    EXPECT_EQ(run.err, kMallocMessage);
}

}  // namespace
