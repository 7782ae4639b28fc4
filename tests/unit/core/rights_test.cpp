// SPDX-License-Identifier: Apache-2.0

#include "core/run/rights.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <linux/securebits.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"

namespace {

using namespace autoresponder;

// The value of a line of /proc/self/status, its blanks made one.
std::string status_of(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) {
            std::string value = line.substr(name.size() + 2);
            for (char& c : value) {
                c = c == '\t' ? ' ' : c;
            }
            return value;
        }
    }
    return "?";
}

class RightsOfRoot : public testing::Test {
  protected:
    void SetUp() override {
        if (geteuid() != 0) {
            GTEST_SKIP() << "this takes root";
        }
    }
};

TEST_F(RightsOfRoot, AreExchangedForThoseOfTheIdentityInEveryRespect) {
    const ChildRun run = run_in_child([] {
        note("assumed:", static_cast<bool>(assume({12345, 23456, {34567, 45678}})));
        note(status_of("Uid"));
        note(status_of("Gid"));
        note(status_of("Groups"));
        note(status_of("CapPrm"), status_of("CapEff"), status_of("NoNewPrivs"));
        note("traced:", prctl(PR_GET_DUMPABLE));
    });
    EXPECT_EQ(run.noted,
              "assumed: true\n12345 12345 12345 12345\n23456 23456 23456 23456\n34567 45678 \n"
              "0000000000000000 0000000000000000 1\ntraced: 0\n");
}

TEST_F(RightsOfRoot, AreGivenUpWhereTheKernelWouldLeaveCapabilities) {
    const ChildRun run = run_in_child([] {
        ASSERT_EQ(prctl(PR_SET_SECUREBITS, SECBIT_NO_SETUID_FIXUP), 0);
        note("assumed:", static_cast<bool>(assume({12345, 23456})));
        note(status_of("CapPrm"), status_of("CapEff"));
        note("back:", setresuid(0, 0, 0) == 0);
    });
    EXPECT_EQ(run.noted, "assumed: true\n0000000000000000 0000000000000000\nback: false\n");
}

TEST_F(RightsOfRoot, AreNotSaidToBeExchangedWhereACallFails) {
    for (const long call : {SYS_setgroups, SYS_setresgid, SYS_setresuid, SYS_capset, SYS_prctl}) {
        const ChildRun run = run_in_child([&] {
            testing_support::fail_system_call(call, EPERM);
            note(assume({12345, 23456}).error());
        });
        EXPECT_EQ(run.noted, std::to_string(EPERM) + "\n") << call;
    }
}

}  // namespace
