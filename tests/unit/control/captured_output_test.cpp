// SPDX-License-Identifier: Apache-2.0

#include "control/captured_output.h"

#include <cstdio>
#include <iostream>

#include <gtest/gtest.h>

#include "core/run/diagnostics.h"
#include "support/log.h"

namespace {

using namespace autoresponder;
using namespace autoresponder::control;

TEST(CapturedOutput, HoldsWhatIsWrittenToStandardErrorByAllWays) {
    const CapturedOutput captured;
    report("one");
    std::cerr << "two\n";
    std::fprintf(stderr, "three\n");
    EXPECT_EQ(captured.errors(), "one\ntwo\nthree\n");
}

TEST(CapturedOutput, KeepsStandardOutputApart) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        const CapturedOutput captured;
        const auto go_on = messlog_set_end([](int) {});
        record(0, "Send error: %s", "the reason");
        messlog_set_end(go_on);
        EXPECT_EQ(captured.errors(), "Send error: the reason\n");
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(CapturedOutput, RestoresTheStreams) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    { const CapturedOutput captured; }
    std::cout << "out" << std::flush;
    report("err");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "out");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
}

}  // namespace
