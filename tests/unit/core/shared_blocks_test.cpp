// SPDX-License-Identifier: Apache-2.0

#include "core/files/shared_blocks.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <gtest/gtest.h>

#include "support/result.h"
#include "tests/system/program.h"
#include "tests/unit/support/child_run.h"

namespace {

using namespace autoresponder;

// How a child ends that writes to the second block.
int write_in_child(const SharedBlocks& blocks) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGSEGV, SIG_DFL);
        blocks.block(1)[SharedBlocks::kSize - 1] = 'x';
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

TEST(SharedBlocksOfAProcess, AreThoseOfItsChildren) {
    const tolva::Result<SharedBlocks> blocks = SharedBlocks::make();
    ASSERT_TRUE(blocks);
    EXPECT_EQ(write_in_child(*blocks), 0);
    EXPECT_EQ(blocks->block(1).back(), 'x');
    EXPECT_EQ(blocks->block(0).back(), '\0');
    EXPECT_EQ(blocks->block(0).data() + SharedBlocks::kSize, blocks->block(1).data());
}

TEST(SharedBlocksOfAProcess, CanBeKeptFromItsChildren) {
    const tolva::Result<SharedBlocks> blocks = SharedBlocks::make();
    ASSERT_TRUE(blocks);
    blocks->keep_from_children();
    EXPECT_NE(write_in_child(*blocks), 0);
    EXPECT_EQ(blocks->block(1).back(), '\0');
}

TEST(SharedBlocksOfAProcess, CannotBeHadWithoutMemory) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers need memory of their own";
    }
    const ChildRun run = run_in_child([] {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_AS, &none);
        note(SharedBlocks::make().error() == ENOMEM);
    });
    EXPECT_EQ(run.noted, "true\n");
}

}  // namespace
