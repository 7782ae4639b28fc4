// SPDX-License-Identifier: Apache-2.0

#include "core/files/opener.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "core/files/suspect.h"
#include "core/run/rights.h"
#include "support/descriptor.h"
#include "support/result.h"
#include "tests/unit/core/temporary_directory.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"

namespace {

using namespace autoresponder;

constexpr Suspect kAlice{Suspect::Kind::kUser, 12345};
constexpr Suspect kAnybody{Suspect::Kind::kAnybody};

class OpenerOfRoot : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
        directory_.put("hers", "x");
        if (geteuid() != 0 || chown(directory_.path("hers").c_str(), kAlice.id, 0) != 0) {
            GTEST_SKIP() << "this takes root, and other user ids";
        }
        std::filesystem::permissions(directory_.path("hers"), std::filesystem::perms(0600));
        directory_.put("of-root", "x");
        std::filesystem::permissions(directory_.path("of-root"), std::filesystem::perms(0600));
        top_ = tolva::Descriptor(open(directory_.path().c_str(), O_PATH | O_CLOEXEC));
    }

    // Why that suspect cannot open it, or "none".
    std::string error_of(Openers& openers, const Suspect& suspect, const std::string& name) const {
        const auto file = openers.open_as(suspect, top_.get(), name, O_RDONLY);
        return file ? "none" : strerrorname_np(file.error());
    }

    // The process id of the only child.
    static pid_t child() {
        pid_t id = -1;
        std::ifstream("/proc/self/task/" + std::to_string(getpid()) + "/children") >> id;
        return id;
    }

    TemporaryDirectory directory_;
    tolva::Descriptor top_;
};

TEST_F(OpenerOfRoot, HasTheSuspectsRightsAndNoOthers) {
    Openers openers;
    EXPECT_EQ(error_of(openers, kAlice, "hers"), "none");
    EXPECT_EQ(error_of(openers, kAlice, "of-root"), "EACCES");
    EXPECT_EQ(error_of(openers, kAnybody, "hers"), "EACCES");
    EXPECT_EQ(error_of(openers, kAlice, "gone"), "ENOENT");
}

TEST_F(OpenerOfRoot, YieldsADescriptorThatIsClosedOnExec) {
    Openers openers;
    const auto file = openers.open_as(kAlice, top_.get(), "hers", O_RDONLY);
    ASSERT_TRUE(file);
    EXPECT_EQ(fcntl(file->get(), F_GETFD), FD_CLOEXEC);
    char byte = 0;
    EXPECT_EQ(read(file->get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(OpenerOfRoot, RefusesAPathThatTheKernelWouldRefuse) {
    Openers openers;
    EXPECT_EQ(error_of(openers, kAlice, std::string(PATH_MAX, '/')), "ENAMETOOLONG");
    EXPECT_EQ(error_of(openers, kAlice, std::string(PATH_MAX - 5, '/') + "hers"), "ENOENT");
}

TEST_F(OpenerOfRoot, IsOneProcessForEachSuspect) {
    const ChildRun run = run_in_child([&] {
        Openers openers;
        error_of(openers, kAlice, "hers");
        const pid_t first = child();
        error_of(openers, kAlice, "hers");
        note("the same:", first > 0 && first == child());
    });
    EXPECT_EQ(run.noted, "the same: true\n");
}

TEST_F(OpenerOfRoot, ThatHasEndedIsReplacedForTheNextFile) {
    const ChildRun run = run_in_child([&] {
        Openers openers;
        error_of(openers, kAlice, "hers");
        kill(child(), SIGKILL);
        note(error_of(openers, kAlice, "hers"));
        note(error_of(openers, kAlice, "hers"));
    });
    EXPECT_EQ(run.noted, "EIO\nnone\n");
}

TEST_F(OpenerOfRoot, EndsWithItsOwner) {
    const ChildRun run = run_in_child([&] {
        {
            Openers openers;
            error_of(openers, kAlice, "hers");
        }
        note("left:", child() > 0);
    });
    EXPECT_EQ(run.noted, "left: false\n");
}

TEST_F(OpenerOfRoot, ThatCannotBeStartedTellsWhy) {
    const ChildRun run = run_in_child([&] {
        testing_support::fail_fork(EAGAIN);
        Openers openers;
        note(error_of(openers, kAlice, "hers"));
    });
    EXPECT_EQ(run.noted, "EAGAIN\n");
}

TEST_F(OpenerOfRoot, OpensNothingWhereItCannotHaveTheRights) {
    for (const long call : {SYS_setresuid, SYS_setresgid, SYS_setgroups, SYS_capset}) {
        const ChildRun run = run_in_child([&] {
            testing_support::fail_system_call(call, EPERM);
            Openers openers;
            note(error_of(openers, kAlice, "hers"), error_of(openers, kAlice, "gone"));
        });
        EXPECT_EQ(run.noted, "EPERM EPERM\n") << call;
    }
}

}  // namespace
