// SPDX-License-Identifier: Apache-2.0

#include "support/exec_utility.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/conf.h"
#include "support/conf_variables.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/private_directory.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::outcome;

TEST(ForkExeclLog, ASuccessIsNotReported) {
    const ChildRun run = run_in_child([] {
        note(outcome(fork_execl_log("/bin/sh", "sh", "-c", "echo out; echo err >&2", nullptr)));
    });
    EXPECT_EQ(run.noted, "exit 0\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
}

TEST(ForkExeclLog, AFailureIsReportedWithTheOutput) {
    const ChildRun run = run_in_child([] {
        errno = EIO;
        note(outcome(
            fork_execl_log("/bin/sh", "sh", "-c", "echo err >&2; echo out; exit 3", nullptr)));
    });
    EXPECT_EQ(run.noted, "exit 3\n");
    EXPECT_EQ(run.err, "/bin/sh execution failed:\nout\nerr\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(ForkExeclLog, AFailureWithoutOutputIsReported) {
    const ChildRun run = run_in_child(
        [] { note(outcome(fork_execl_log("/bin/sh", "sh", "-c", "exit 3", nullptr))); });
    EXPECT_EQ(run.noted, "exit 3\n");
    EXPECT_EQ(run.err, "/bin/sh execution failed (no output)\n");
}

TEST(ForkExeclLog, AProgramThatCannotBeRunIsReportedInItsOwnWords) {
    const ChildRun run =
        run_in_child([] { note(outcome(fork_execl_log("/no/such/program", "program", nullptr))); });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err,
              "/no/such/program execution failed:\n"
              "fork_execv: execv(\"/no/such/program\") failed: No such file or directory\n");
}

TEST(ForkExeclLog, AFailedForkIsReported) {
    const ChildRun run = run_in_child([] {
        testing_support::fail_fork(EAGAIN);
        note(outcome(fork_execl_log("/bin/sh", "sh", nullptr)));
    });
    EXPECT_EQ(run.noted, "-1 EAGAIN\n");
    EXPECT_EQ(run.err,
              "fork_execv_pipes: fork() failed\n"
              "System error 11: Resource temporarily unavailable\n"
              "/bin/sh execution failed (no output)\n");
}

TEST(ForkExeclLog, NoMemoryForTheArgumentsIsReported) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation memory(1);
        note(outcome(fork_execl_log("/bin/sh", "sh", nullptr)));
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM\n");
    EXPECT_EQ(run.err,
              "malloc() failed: Cannot allocate memory\nSystem error 12: Cannot allocate memory\n");
}

TEST(ForkExeclLog, NoMemoryForTheReportLeavesTheStatus) {
    const ChildRun run = run_in_child([] {
        // the arguments, a buffer for either stream, then the report
        const FailingAllocation memory(4);
        const int status =
            fork_execl_log("/bin/sh", "sh", "-c",
                           "echo a text of some length; echo another one >&2; exit 3", nullptr);
        note(outcome(status));
    });
    EXPECT_EQ(run.noted, "exit 3\n");
    EXPECT_EQ(run.err, "Can't allocate memory for error message\n");
}

TEST(UtilExec, RunsTheUtilityBelowThePanelsDirectory) {
    if (!can_make_private("/etc")) {
        GTEST_SKIP() << "needs root or user namespaces";
    }
    const ChildRun run = run_in_child([] {
        if (!make_private("/etc")) {
            note("no private directory");
            return;
        }
        std::filesystem::create_directories("/etc/tva");
        std::filesystem::create_directories("/etc/panel/admin/bin");
        std::filesystem::create_symlink("/bin/sh", "/etc/panel/admin/bin/utility");
        std::ofstream("/etc/tva/tva.conf") << "PRODUCT_ROOT_D /etc/panel\n";
        note(outcome(
            util_exec("utility", "name", "-c", "echo \"$0 $1\"; exit 6", "zero", "one", nullptr)));
    });
    EXPECT_EQ(run.noted, "exit 6\n");
    EXPECT_EQ(run.out, "zero one\n");
    EXPECT_EQ(run.err, "");
}

TEST(UtilExec, AUtilityThatIsMissingIsReportedByTheChild) {
    const ChildRun run = run_in_child(
        [] { note(outcome(util_exec("no-such-utility", "utility", "argument", nullptr))); });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err, std::string("fork_execv: execv(\"") +
                           tvaConfGetDefaultByIndex(PRODUCT_ROOT_D) +
                           "/admin/bin/no-such-utility\") failed: No such file or directory\n");
}

TEST(UtilExecArgs, RefusesANameThatIsNoneOrHasAPath) {
    for (const char* name : {"", ".", "..", "a/b", "/bin/sh", "../sh"}) {
        const ChildRun run = run_in_child([name] {
            const std::array<char*, 1> argv = {nullptr};
            errno = EIO;
            note(outcome(util_exec_args(name, argv.data())));
        });
        EXPECT_EQ(run.noted, "-1 EINVAL\n");
        EXPECT_EQ(run.err, std::string("Utility name '") + name +
                               "' is invalid. Use only utility name without path.\n");
        EXPECT_EQ(run.out, run.err);
    }
}

TEST(UtilExec, RefusesANullName) {
    const ChildRun run = run_in_child([] { note(outcome(util_exec(nullptr, "sh", nullptr))); });
    EXPECT_EQ(run.noted, "-1 EINVAL\n");
    EXPECT_EQ(run.err, "Utility name '(null)' is invalid. Use only utility name without path.\n");
}

TEST(UtilLibexec, RunsTheProgramBelowTheLibraryDirectory) {
    const ChildRun run = run_in_child(
        [] { note(outcome(util_libexec("some/no-such-program", "program", nullptr))); });
    EXPECT_EQ(run.noted, "exit 255\n");
    EXPECT_EQ(run.err,
              "fork_execv: execv(\"/usr/lib/tolva-9.0/some/no-such-program\") failed: "
              "No such file or directory\n");
}

// How often a call that fails at each of its allocations in turn returned -1 with ENOMEM and said
// so; otherwise it must have run.
int times_without_memory(const std::function<int()>& call) {
    int times = 0;
    for (int allocation = 1; allocation <= 12; ++allocation) {
        const ChildRun run = run_in_child([&] {
            std::string result;
            {
                const FailingAllocation memory(allocation);
                result = outcome(call());
            }
            note(result);
        });
        const bool said = run.err.find(
                              "malloc() failed: Cannot allocate memory\n"
                              "System error 12: Cannot allocate memory\n") != std::string::npos;
        EXPECT_EQ(run.noted, said ? "-1 ENOMEM\n" : "exit 255\n") << allocation << run.err;
        times += said ? 1 : 0;
    }
    return times;
}

TEST(UtilExecArgs, NoMemoryForThePathIsReported) {
    EXPECT_GE(times_without_memory([] {
                  const std::array<char*, 1> argv = {nullptr};
                  return util_exec_args("no-such-utility", argv.data());
              }),
              1);
}

TEST(UtilExec, NoMemoryIsReportedForTheArgumentsAndThePath) {
    EXPECT_GE(times_without_memory([] { return util_exec("no-such-utility", "name", nullptr); }),
              2);
}

TEST(UtilLibexec, NoMemoryIsReportedForTheArgumentsAndThePath) {
    EXPECT_GE(times_without_memory([] { return util_libexec("no-such-program", "name", nullptr); }),
              2);
}

TEST(UtilLibexec, RefusesANullName) {
    const ChildRun run =
        run_in_child([] { note(outcome(util_libexec(nullptr, "program", nullptr))); });
    EXPECT_EQ(run.noted, "-1 EINVAL\n");
    EXPECT_EQ(run.err, "");
}

}  // namespace
