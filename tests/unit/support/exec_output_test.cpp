// SPDX-License-Identifier: Apache-2.0

#include "support/exec_output.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/process_state.h"
#include "tests/unit/support/shell_command.h"
#include "tests/unit/support/test_pipe.h"

namespace {

using testing_support::fail_fork;
using testing_support::has_children;
using testing_support::next_descriptor;
using testing_support::NoMoreDescriptors;
using testing_support::open_descriptors;
using testing_support::outcome;
using testing_support::ShellCommand;
using testing_support::take_descriptor;
using testing_support::TestPipe;

constexpr char kShell[] = "/bin/sh";
constexpr char kAgain[] = "\nSystem error 11: Resource temporarily unavailable\n";
constexpr char kNoMemory[] = "\nSystem error 12: Cannot allocate memory\n";

// A text that a function of the family returns, or null; something else before the call.
class GivenText {
  public:
    GivenText() = default;
    GivenText(const GivenText&) = delete;
    GivenText& operator=(const GivenText&) = delete;
    ~GivenText() {
        if (text_ != unset_.data()) {
            std::free(text_);
        }
    }

    char** target() { return &text_; }
    std::string text() const { return text_ != nullptr ? text_ : "(null)"; }

  private:
    std::string unset_ = "(unset)";
    char* text_ = unset_.data();
};

// Notes the result of call, the text it returned, and the children and descriptors it left behind.
template <typename Call>
void note_call(Call call) {
    GivenText out;
    const long before = open_descriptors();
    errno = 0;
    const std::string result = outcome(call(out.target()));
    note(result, out.text());
    note("children:", has_children(), "descriptors:", open_descriptors() - before);
}

// What note_call notes of a call that failed and left nothing behind, the text null.
std::string clean_failure(const std::string& error) {
    return "-1 " + error + " (null)\nchildren: false descriptors: 0\n";
}

TEST(PopenExecGetoutput, CollectsTheOutputOfACommand) {
    GivenText output;
    EXPECT_EQ(popen_exec_getoutput(output.target(), "echo one; echo two"), 0);
    EXPECT_EQ(output.text(), "one\ntwo\n");
}

TEST(PopenExecGetoutput, ReturnsEmptyTextWhereNothingIsWritten) {
    GivenText output;
    EXPECT_EQ(outcome(popen_exec_getoutput(output.target(), "exit 3")), "exit 3");
    EXPECT_EQ(output.text(), "");
}

TEST(PopenExecGetoutput, CollectsLargeOutput) {
    GivenText output;
    EXPECT_EQ(popen_exec_getoutput(output.target(), "head -c 300000 /dev/zero | tr '\\0' x"), 0);
    EXPECT_EQ(output.text(), std::string(300000, 'x'));
}

TEST(PopenExecGetoutput, NoMemoryAtTheStartIsReportedAndNothingRun) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        note_call([](char** out) { return popen_exec_getoutput(out, "echo ran >&2"); });
    });
    EXPECT_EQ(run.noted, clean_failure("ENOMEM"));
    EXPECT_EQ(run.err, std::string("popen_exec: failed to allocate memory\n") + kNoMemory);
}

TEST(PopenExecGetoutput, NoMemoryLaterCutsTheOutputWithAWarning) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(2);
        GivenText output;
        const int status = popen_exec_getoutput(
            output.target(), "head -c 300000 /dev/zero | tr '\\0' x && echo done >&2");
        note(outcome(status), output.text());
    });
    EXPECT_EQ(run.noted, "exit 0 " + std::string(4095, 'x') + "\n");
    EXPECT_NE(run.err.find("popen_exec: warning: failed to allocate memory for command output "
                           "buffer\n" +
                           std::string(kNoMemory)),
              std::string::npos);
    EXPECT_NE(run.err.find("done\n"), std::string::npos);
}

TEST(PopenExecGetoutput, AFailedReadIsReported) {
    const ChildRun run = run_in_child([] {
        const int next = next_descriptor();  // the pipe's read end
        testing_support::fail_system_call_with(SYS_read, static_cast<unsigned char>(next), EIO);
        GivenText output;
        const int result = popen_exec_getoutput(output.target(), "exit 0");
        note(outcome(result), output.text());
        note("children:", has_children(), "pipe closed:", take_descriptor() == next);
    });
    EXPECT_EQ(run.noted, "-1 EIO (null)\nchildren: false pipe closed: true\n");
    EXPECT_EQ(run.err,
              "fork_exec*: read(pipe) failed: Input/output error\n\n"
              "System error 5: Input/output error\n");
}

TEST(PopenExecGetoutput, AFailedReadIsReportedWithItsOwnErrorWhereTheWaitIsInterrupted) {
    const ChildRun run = run_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const int next = next_descriptor();  // the pipe's read end
        testing_support::fail_system_call_with(SYS_read, static_cast<unsigned char>(next), EIO);
        GivenText output;
        const int result = popen_exec_getoutput(output.target(), "exec >&-; sleep 0.2");
        note(outcome(result), output.text());
    });
    EXPECT_EQ(run.noted, "-1 EIO (null)\n");
}

TEST(PopenExecGetoutput, AFailedWaitYieldsMinusOneAndNoText) {
    const ChildRun run = run_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        note_call([](char** out) { return popen_exec_getoutput(out, "echo text"); });
    });
    EXPECT_EQ(run.noted, clean_failure("ECHILD"));
}

constexpr char kPopenMessage[] =
    "popen_exec: failed to execute command: fork or pipe calls failed, or cannon allocate memory\n";

TEST(PopenExecGetoutput, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(ENOMEM);  // what popen of glibc says of every failure
        note_call([](char** out) { return popen_exec_getoutput(out, "exit 0"); });
    });
    EXPECT_EQ(run.noted, clean_failure("ENOMEM"));
    EXPECT_EQ(run.err, std::string(kPopenMessage) + kNoMemory);
}

TEST(PopenExec, ASuccessfulCommandIsNotReported) {
    const ChildRun run = run_in_child([] { note(outcome(popen_exec("echo text"))); });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(PopenExec, AFailedCommandIsReportedWithItsOutput) {
    const ChildRun run = run_in_child([] {
        errno = EIO;
        note(outcome(popen_exec("echo text; exit 5")));
    });
    EXPECT_EQ(run.noted, "exit 5\n");
    EXPECT_EQ(run.err, "popen_exec: command failed code: 5 , text\n\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(PopenExec, AFailedCommandWithoutOutputIsReported) {
    const ChildRun run = run_in_child([] { note(outcome(popen_exec("exit 5"))); });
    EXPECT_EQ(run.noted, "exit 5\n");
    EXPECT_EQ(run.err, "popen_exec: command failed code: 5 , error: none\n");
}

TEST(PopenExec, ACommandEndedByASignalIsReported) {
    const ChildRun run = run_in_child([] { note(outcome(popen_exec("kill -TERM $$"))); });
    EXPECT_EQ(run.noted, "signal 15\n");
    EXPECT_EQ(run.err, "popen_exec: command failed code: 143 , error: none\n");
}

TEST(PopenExec, ACommandThatCannotBeRunIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(ENOMEM);
        note(outcome(popen_exec("some command")));
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM\n");
    EXPECT_EQ(run.err, std::string(kPopenMessage) + kNoMemory +
                           "popen_exec: failed to execute command: some command\n" + kNoMemory);
}

TEST(ForkExecvGetoutput, CollectsStandardOutputAlone) {
    const ChildRun run = run_in_child([] {
        note_call([](char** out) {
            return fork_execv_getoutput(out, kShell, "sh", "-c", "echo out; echo err >&2", nullptr);
        });
    });
    EXPECT_EQ(run.noted, "exit 0 out\n\nchildren: false descriptors: 0\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExecvGetoutput, CollectsWhereTheCallersStandardStreamsAreClosed) {
    const ChildRun run = run_in_child([] {
        close(0);
        close(1);
        GivenText output;
        const int status =
            fork_execv_getoutput(output.target(), kShell, "sh", "-c", "echo out", nullptr);
        note(outcome(status), output.text());
    });
    EXPECT_EQ(run.noted, "exit 0 out\n\n");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExecvGetoutput, AFailedUtilityIsReported) {
    const ChildRun run = run_in_child([] {
        errno = EIO;
        GivenText output;
        const int status =
            fork_execv_getoutput(output.target(), kShell, "sh", "-c", "echo text; exit 4", nullptr);
        note(outcome(status), output.text());
    });
    EXPECT_EQ(run.noted, "exit 4 text\n\n");
    EXPECT_EQ(run.err, "utility /bin/sh failed (result=4):\ntext\n");
}

TEST(ForkExecvGetoutput, AKilledUtilityIsReported) {
    const ChildRun run = run_in_child([] {
        GivenText output;
        const int status = fork_execv_getoutput(output.target(), kShell, "sh", "-c",
                                                "echo text; kill -TERM $$", nullptr);
        note(outcome(status), output.text());
    });
    EXPECT_EQ(run.noted, "signal 15 text\n\n");
    EXPECT_EQ(run.err, "utility /bin/sh killed (signal 15):\ntext\n");
}

// Whether a core file is written is up to the machine; where none is, the utility counts as killed.
TEST(ForkExecvGetoutput, AUtilityThatLeavesACoreFileIsReportedAsCrashed) {
    const ChildRun run = run_in_child([] {
        char directory[] = "/tmp/support-core-XXXXXX";
        if (mkdtemp(directory) == nullptr || chdir(directory) != 0) {
            note("no directory");
            return;
        }
        const rlimit any = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_CORE, &any);
        GivenText output;
        const int status = fork_execv_getoutput(output.target(), kShell, "sh", "-c",
                                                "echo text; kill -ABRT $$", nullptr);
        std::filesystem::remove_all(directory);
        note(outcome(status));
    });
    if (run.noted == "signal 6\n") {
        EXPECT_EQ(run.err, "utility /bin/sh killed (signal 6):\ntext\n");
        GTEST_SKIP() << "this machine writes no core files";
    }
    EXPECT_EQ(run.noted, "signal 6, core dumped\n");
    EXPECT_EQ(run.err, "utility /bin/sh crashed (status 134):\ntext\n");
}

TEST(ForkExecvGetoutput, AProgramThatCannotBeRunIsSaidByTheChild) {
    const ChildRun run = run_in_child([] {
        GivenText output;
        const int status =
            fork_execv_getoutput(output.target(), "/no/such/program", "program", nullptr);
        note(outcome(status), output.text());
    });
    EXPECT_EQ(run.noted, "exit 255 \n");
    EXPECT_EQ(run.err,
              "Cannot exec /no/such/program:\nNo such file or directory\n"
              "utility /no/such/program failed (result=255):\n");
}

int getoutput_of_shell(char** out) {
    return fork_execv_getoutput(out, kShell, "sh", "-c", "head -c 300000 /dev/zero", nullptr);
}

TEST(ForkExecvGetoutput, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(EAGAIN);
        note_call(getoutput_of_shell);
    });
    EXPECT_EQ(run.noted, clean_failure("EAGAIN"));
    EXPECT_EQ(run.err, std::string("Cannot fork():\nResource temporarily unavailable") + kAgain);
}

TEST(ForkExecvGetoutput, NoMemoryIsReportedAtEveryStage) {
    for (const int allocation : {1, 2, 3}) {  // arguments, buffer, growth of the buffer
        const ChildRun run = run_in_child([allocation] {
            const FailingAllocation memory(allocation);
            note_call(getoutput_of_shell);
        });
        EXPECT_EQ(run.noted, clean_failure("ENOMEM")) << allocation;
        EXPECT_EQ(run.err,
                  std::string("Cannot allocate buffer:\nCannot allocate memory") + kNoMemory);
    }
}

TEST(ForkExecvGetoutput, AFailedPipeIsReported) {
    const ChildRun run = run_in_child([] {
        note_call([](char** out) {
            const NoMoreDescriptors limit;
            return getoutput_of_shell(out);
        });
    });
    EXPECT_EQ(
        run.err,
        "Cannot allocate buffer:\nToo many open files\nSystem error 24: Too many open files\n");
    EXPECT_EQ(run.noted, clean_failure("EMFILE"));
}

TEST(ForkExecvGetoutput, AFailedReadIsReported) {
    const ChildRun run = run_in_child([] {
        const int next = next_descriptor();  // the pipe's read end
        testing_support::fail_system_call_with(SYS_read, static_cast<unsigned char>(next), EIO);
        GivenText output;
        const int result =
            fork_execv_getoutput(output.target(), "/no/such/program", "program", nullptr);
        note(outcome(result), output.text());
        note("children:", has_children(), "pipe closed:", take_descriptor() == next);
    });
    EXPECT_EQ(run.noted, "-1 EIO (null)\nchildren: false pipe closed: true\n");
    EXPECT_NE(run.err.find("Cannot read child output:\nInput/output error\nSystem error 5: "
                           "Input/output error\n"),
              std::string::npos);
}

TEST(ForkExecvGetoutput, AFailedWaitIsReported) {
    const ChildRun run = run_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        note_call([](char** out) {
            return fork_execv_getoutput(out, kShell, "sh", "-c", "exit 0", nullptr);
        });
    });
    EXPECT_EQ(run.noted, clean_failure("ECHILD"));
    EXPECT_EQ(run.err, "error:\nNo child processes\nSystem error 10: No child processes\n");
}

// A buffer that read_to_buf fills, none at first or with a text of the test's own.
class GrowingText {
  public:
    GrowingText() = default;
    explicit GrowingText(const char* text)
        : text_(strdup(text)), length_(std::strlen(text)), capacity_(length_ + 1) {}
    GrowingText(const GrowingText&) = delete;
    GrowingText& operator=(const GrowingText&) = delete;
    ~GrowingText() { std::free(text_); }

    int read(int fd) { return read_to_buf(fd, &text_, &length_, &capacity_); }
    bool allocated() const { return text_ != nullptr; }
    std::string text() const { return {text_, length_}; }
    std::string c_string() const { return text_; }

  private:
    char* text_ = nullptr;
    size_t length_ = 0;
    size_t capacity_ = 0;
};

TEST(ReadToBuf, ReturnsZeroAtTheEndOfFile) {
    TestPipe pipe;
    ASSERT_EQ(write(pipe.write_end(), "a\0b", 3), 3);
    pipe.close_write_end();
    GrowingText buffer;
    EXPECT_EQ(buffer.read(pipe.read_end()), 0);
    EXPECT_EQ(buffer.text(), std::string("a\0b", 3));
    EXPECT_EQ(buffer.c_string(), "a");
}

TEST(ReadToBuf, GoesOnWhereANonBlockingPipeHadNoMore) {
    TestPipe pipe;
    ASSERT_EQ(fcntl(pipe.read_end(), F_SETFL, O_NONBLOCK), 0);
    GrowingText buffer;
    EXPECT_EQ(buffer.read(pipe.read_end()), 1);
    EXPECT_EQ(buffer.text(), "");
    ASSERT_EQ(write(pipe.write_end(), "one ", 4), 4);
    EXPECT_EQ(buffer.read(pipe.read_end()), 1);
    ASSERT_EQ(write(pipe.write_end(), "two", 3), 3);
    pipe.close_write_end();
    EXPECT_EQ(buffer.read(pipe.read_end()), 0);
    EXPECT_EQ(buffer.c_string(), "one two");
}

TEST(ReadToBuf, ContinuesATextOfTheCallersWhateverItsCapacity) {
    for (const char* text : {"", "s", "seed"}) {
        TestPipe pipe;
        const std::string more = "ling" + std::string(5000, 'x');
        ASSERT_EQ(write(pipe.write_end(), more.data(), more.size()),
                  static_cast<ssize_t>(more.size()));
        pipe.close_write_end();
        GrowingText buffer(text);
        EXPECT_EQ(buffer.read(pipe.read_end()), 0);
        EXPECT_EQ(buffer.c_string(), text + more);
    }
}

TEST(ReadToBuf, AFailedReadIsReportedAndTheTextKept) {
    const ChildRun run = run_in_child([] {
        GrowingText buffer("seed");
        note(outcome(buffer.read(-1)), buffer.c_string());
    });
    EXPECT_EQ(run.noted, "-1 EBADF seed\n");
    EXPECT_EQ(run.err,
              "fork_exec*: read(pipe) failed: Bad file descriptor\n\n"
              "System error 9: Bad file descriptor\n");
}

TEST(ReadToBuf, NoMemoryIsReported) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        GrowingText buffer;
        note(outcome(buffer.read(STDIN_FILENO)), "allocated:", buffer.allocated());
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM allocated: false\n");
    EXPECT_EQ(run.err, std::string("Cannot allocate memory") + kNoMemory);
}

constexpr char kBoth[] = "echo out; echo err >&2; exit 2";

TEST(ForkExeclGetouterr, CollectsBothStreams) {
    GivenText out;
    GivenText err;
    const long before = open_descriptors();
    const int status =
        fork_execl_getouterr(out.target(), err.target(), kShell, "sh", "-c", kBoth, nullptr);
    EXPECT_EQ(outcome(status), "exit 2");
    EXPECT_EQ(out.text(), "out\n");
    EXPECT_EQ(err.text(), "err\n");
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_FALSE(has_children());
}

TEST(ForkExeclGetouterr, CollectsMoreThanThePipesHoldOnBothStreamsInEitherOrder) {
    const std::string to_out = "head -c 300000 /dev/zero | tr '\\0' o";
    const std::string to_err = "head -c 300000 /dev/zero | tr '\\0' e >&2";
    const std::string out_first = to_out + " && " + to_err;
    const std::string err_first = to_err + " && " + to_out;
    for (const std::string& command : {out_first, err_first}) {
        GivenText out;
        GivenText err;
        EXPECT_EQ(fork_execl_getouterr(out.target(), err.target(), kShell, "sh", "-c",
                                       command.c_str(), nullptr),
                  0);
        EXPECT_EQ(out.text(), std::string(300000, 'o'));
        EXPECT_EQ(err.text(), std::string(300000, 'e'));
    }
}

TEST(ForkExeclGetouterr, CollectsWhereTheCallersStandardStreamsAreClosed) {
    const ChildRun run = run_in_child([] {
        close(0);
        close(1);
        close(2);
        GivenText out;
        GivenText err;
        const int status =
            fork_execl_getouterr(out.target(), err.target(), kShell, "sh", "-c", kBoth, nullptr);
        note(outcome(status), out.text(), err.text());
    });
    EXPECT_EQ(run.noted, "exit 2 out\n err\n\n");
}

TEST(ForkExeclGetouterr, AStreamWithoutTargetGoesToDevNull) {
    const ChildRun run = run_in_child([] {
        GivenText out;
        GivenText err;
        const int first =
            fork_execl_getouterr(out.target(), nullptr, kShell, "sh", "-c", kBoth, nullptr);
        const int second =
            fork_execl_getouterr(nullptr, err.target(), kShell, "sh", "-c", kBoth, nullptr);
        note(outcome(first), out.text());
        note(outcome(second), err.text());
    });
    EXPECT_EQ(run.noted, "exit 2 out\n\nexit 2 err\n\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExeclGetouterr, AProgramThatCannotBeRunSaysSoInTheErrorsCollected) {
    GivenText out;
    GivenText err;
    const int status =
        fork_execl_getouterr(out.target(), err.target(), "/no/such/program", "program", nullptr);
    EXPECT_EQ(outcome(status), "exit 255");
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(err.text(),
              "fork_execv: execv(\"/no/such/program\") failed: No such file or directory\n");
}

TEST(ForkExeclGetouterr, NoMemoryForTheArgumentsIsReported) {
    const ChildRun run = run_in_child([] {
        GivenText out;
        GivenText err;
        const FailingAllocation memory(1);
        const int result = fork_execl_getouterr(out.target(), err.target(), kShell, "sh", nullptr);
        note(outcome(result), out.text(), err.text());
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM (null) (null)\n");
    EXPECT_EQ(run.err, std::string("malloc() failed: Cannot allocate memory") + kNoMemory);
}

const ShellCommand kWriteMuch("head -c 300000 /dev/zero");

int getouterr_of_shell(char** out) {
    GivenText err;
    const int result = fork_execv_getouterr(out, err.target(), kShell, kWriteMuch.argv());
    note("errors:", err.text());
    return result;
}

std::string clean_failure_of_both(const std::string& error) {
    return "errors: (null)\n" + clean_failure(error);
}

TEST(ForkExecvGetouterr, AFailedPipeIsReported) {
    const ChildRun run = run_in_child([] {
        note_call([](char** out) {
            const NoMoreDescriptors limit;
            return getouterr_of_shell(out);
        });
    });
    EXPECT_EQ(run.noted, clean_failure_of_both("EMFILE"));
    EXPECT_EQ(run.err,
              "fork_execv_getouterr: pipe() failed\nSystem error 24: Too many open files\n");
}

TEST(ForkExecvGetouterr, AFailedFcntlIsReported) {
    const ChildRun run = run_in_child([] {
        const int next = next_descriptor();  // the pipe's read end
        testing_support::fail_system_call_with(SYS_fcntl, static_cast<unsigned char>(next), EINVAL);
        note_call(getouterr_of_shell);
        note("pipe closed:", take_descriptor() == next);
    });
    EXPECT_EQ(run.noted, clean_failure_of_both("EINVAL") + "pipe closed: true\n");
    EXPECT_EQ(
        run.err,
        "fork_execv_getouterr: fcntl(O_NONBLOCK) failed\nSystem error 22: Invalid argument\n");
}

TEST(ForkExecvGetouterr, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        fail_fork(EAGAIN);
        note_call(getouterr_of_shell);
    });
    EXPECT_EQ(run.noted, clean_failure_of_both("EAGAIN"));
    EXPECT_EQ(run.err, std::string("fork_execv_pipes: fork() failed") + kAgain);
}

// A first buffer for either stream, then growth.
TEST(ForkExecvGetouterr, NoMemoryIsReportedAtEveryStageAndTheChildWaitedFor) {
    for (int allocation = 1; allocation <= 8; ++allocation) {
        const ChildRun run = run_in_child([allocation] {
            const FailingAllocation memory(allocation);
            note_call(getouterr_of_shell);
        });
        EXPECT_EQ(run.noted, clean_failure_of_both("ENOMEM")) << allocation;
        EXPECT_NE(run.err.find(std::string("annot allocate memory") + kNoMemory), std::string::npos)
            << allocation;
    }
}

TEST(ForkExecvGetouterr, AFailedPollIsReportedAndTheChildWaitedFor) {
    const ChildRun run = run_in_child([] {
        alarm(10);  // not to be tried for ever
#ifdef SYS_poll
        testing_support::fail_system_call(SYS_poll, EINVAL);
#endif
        testing_support::fail_system_call(SYS_ppoll, EINVAL);
        note_call(getouterr_of_shell);
    });
    EXPECT_EQ(run.noted, clean_failure_of_both("EINVAL"));
    EXPECT_EQ(run.err,
              "fork_exec*: read(pipe) failed: Invalid argument\n\n"
              "System error 22: Invalid argument\n");
}

// The wait for the child, which goes on after a failure, has errors of its own.
TEST(ForkExecvGetouterr, AFailedReadIsReportedWithItsOwnErrorWhereTheWaitIsInterrupted) {
    const ChildRun run = run_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        const int next = next_descriptor();  // the pipe's read end
        testing_support::fail_system_call_with(SYS_read, static_cast<unsigned char>(next), EIO);
        GivenText out;
        const int status = fork_execl_getout(out.target(), kShell, "sh", "-c",
                                             "echo text; exec >&-; sleep 0.2", nullptr);
        note(outcome(status), out.text());
        note("children:", has_children(), "pipe closed:", take_descriptor() == next);
    });
    EXPECT_EQ(run.noted, "-1 EIO (null)\nchildren: false pipe closed: true\n");
    EXPECT_EQ(run.err,
              "fork_exec*: read(pipe) failed: Input/output error\n\n"
              "System error 5: Input/output error\n");
}

TEST(ForkExecvGetouterr, SignalsDoNotEndTheCollecting) {
    const ChildRun run = run_in_child([] {
        testing_support::interrupt_every_20_milliseconds();
        GivenText out;
        const int status =
            fork_execl_getout(out.target(), kShell, "sh", "-c", "sleep 0.2; echo late", nullptr);
        note(outcome(status), out.text());
    });
    EXPECT_EQ(run.noted, "exit 0 late\n\n");
}

TEST(ForkExecvGetouterr, AFailedWaitYieldsMinusOneAndNoText) {
    const ChildRun run = run_in_child([] {
        signal(SIGCHLD, SIG_IGN);
        note_call(getouterr_of_shell);
    });
    EXPECT_EQ(run.noted, clean_failure_of_both("ECHILD"));
}

int getout_of_shell(char** out) {
    return fork_execl_getout(out, kShell, "sh", "-c", kBoth, nullptr);
}

TEST(ForkExeclGetout, CollectsStandardOutputAlone) {
    const ChildRun run = run_in_child([] { note_call(getout_of_shell); });
    EXPECT_EQ(run.noted, "exit 2 out\n\nchildren: false descriptors: 0\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExeclGetout, NoMemoryForTheArgumentsIsReported) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        note_call(getout_of_shell);
    });
    EXPECT_EQ(run.noted, clean_failure("ENOMEM"));
    EXPECT_EQ(run.err, std::string("malloc() failed: Cannot allocate memory") + kNoMemory);
}

TEST(ForkExeclGetout, CollectsWhereTheCallersStandardStreamsAreClosed) {
    const ChildRun run = run_in_child([] {
        close(0);
        close(1);
        GivenText out;
        const int status = getout_of_shell(out.target());
        note(outcome(status), out.text());
    });
    EXPECT_EQ(run.noted, "exit 2 out\n\n");
    EXPECT_EQ(run.err, "err\n");
}

TEST(ForkExecvGetout, AFailedPipeIsReportedInTheWordsOfGetouterr) {
    const ChildRun run = run_in_child([] {
        note_call([](char** out) {
            const NoMoreDescriptors limit;
            return getout_of_shell(out);
        });
    });
    EXPECT_EQ(run.noted, clean_failure("EMFILE"));
    EXPECT_EQ(run.err,
              "fork_execv_getouterr: pipe() failed\nSystem error 24: Too many open files\n");
}

}  // namespace
