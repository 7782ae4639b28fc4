// SPDX-License-Identifier: Apache-2.0

#include "core/run/forked_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "support/result.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"

namespace {

using namespace autoresponder;

TEST(ForkedChild, DoesItsWorkWithTheStreamsItIsGiven) {
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    ASSERT_TRUE(pipe);
    auto child = ForkedProcess::start({.out = pipe->write_end.get()}, [] {
        [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, "work", 4);
    });
    ASSERT_TRUE(child);
    pipe->write_end.close();
    std::string bytes(10, '\0');
    EXPECT_EQ(read(pipe->read_end.get(), bytes.data(), bytes.size()), 4);
    EXPECT_EQ(bytes.substr(0, 4), "work");
    EXPECT_EQ(child->wait(), 0);
    EXPECT_EQ(child->wait(), -1);
}

TEST(ForkedChild, EndsWhereItsWorkFailsAndDoesNotGoOnInItsParentsPlace) {
    const ChildRun run = run_in_child([] {
        try {
            auto child = ForkedProcess::start({}, [] { throw std::bad_alloc(); });
            note("status:", WEXITSTATUS(child->wait()));
        } catch (const std::bad_alloc&) {
            note("caught by a parent");
        }
    });
    EXPECT_EQ(run.noted, "status: 255\n");
}

TEST(ForkedChild, IsKilledWhenTheObjectGoes) {
    pid_t id = 0;
    {
        auto child = ForkedProcess::start({}, [] { pause(); });
        ASSERT_TRUE(child);
        id = child->id();
        EXPECT_EQ(kill(id, 0), 0);
    }
    EXPECT_EQ(kill(id, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(ForkedChild, EndsWithItsParent) {
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    ASSERT_TRUE(pipe);
    run_in_child([&] {
        auto child = ForkedProcess::start({.out = pipe->write_end.get()}, [] { pause(); });
        _exit(0);  // without a destructor
    });
    pipe->write_end.close();
    char byte = 0;
    EXPECT_EQ(read(pipe->read_end.get(), &byte, 1), 0) << "it still holds the pipe";
}

TEST(ForkedChild, CannotBeHadWithoutANewProcess) {
    const ChildRun run = run_in_child([] {
        testing_support::fail_fork(EAGAIN);
        note(ForkedProcess::start({}, [] {}).error());
    });
    EXPECT_EQ(run.noted, std::to_string(EAGAIN) + "\n");
}

}  // namespace
