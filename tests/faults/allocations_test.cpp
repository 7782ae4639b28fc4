// SPDX-License-Identifier: Apache-2.0

// Every allocation of a run fails in turn, alone or with all that follow.

#include <string>

#include <gtest/gtest.h>

#include "tests/faults/full_run.h"

namespace {

class Allocations : public FullRun {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "the address sanitizer has an allocator of its own";
        }
        FullRun::SetUp();
    }

    // Has each of them fail. `later_ones` is added to its number.
    void fail_in_turn(const std::string& later_ones) {
        rehearse(with_failing_allocation(plain_start(), "0", "allocations"));
        const unsigned long all = std::stoul(lines_of("/world/allocations").at(0));
        EXPECT_GT(all, 100U);
        for (const unsigned long number : numbers(all, 30)) {
            const std::string which = std::to_string(number) + later_ones;
            endure({.name = "allocation " + which,
                    .invocation = with_failing_allocation(plain_start(), which)});
        }
    }
};

TEST_F(Allocations, EachMayFail) {
    fail_in_turn("");
}

TEST_F(Allocations, EachMayFailWithAllLaterOnes) {
    fail_in_turn("+");
}

}  // namespace
