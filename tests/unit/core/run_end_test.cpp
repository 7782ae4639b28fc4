// SPDX-License-Identifier: Apache-2.0

#include "core/run/run_end.h"

#include <exception>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

using namespace autoresponder;

// What is made of something that is thrown.
struct Handled {
    EndOfRun end;
    std::string report;
};

Handled handled(const std::function<void()>& throw_it) {
    testing::internal::CaptureStderr();
    EndOfRun end("");
    try {
        throw_it();
    } catch (...) {
        report_end_of_run();
        end = current_end();
    }
    return {end, testing::internal::GetCapturedStderr()};
}

TEST(EndOfRun, CarriesItsLine) {
    EXPECT_EQ(EndOfRun("autoresponder: the reason ").line(), "autoresponder: the reason ");
}

TEST(EndOfRun, ReasonIsTheLineWithoutTheProgramsName) {
    EXPECT_EQ(EndOfRun("autoresponder: the reason").reason(), "the reason");
    EXPECT_EQ(EndOfRun("the reason of autoresponder: x").reason(),
              "the reason of autoresponder: x");
    EXPECT_EQ(EndOfRun("").reason(), "");
}

TEST(EndOfRun, ReasonMayDifferFromTheLine) {
    const EndOfRun end("autoresponder: the line ", "the reason", EndOfRun::Cause::kMessage);
    EXPECT_EQ(end.line(), "autoresponder: the line ");
    EXPECT_EQ(end.reason(), "the reason");
    EXPECT_EQ(end.cause(), EndOfRun::Cause::kMessage);
}

TEST(EndOfRun, IsAFailureByDefault) {
    EXPECT_EQ(EndOfRun("autoresponder: the reason").cause(), EndOfRun::Cause::kFailure);
}

TEST(EndOfRun, IsNoFailureThatTheRunSurvives) {
    static_assert(!std::is_base_of_v<std::exception, EndOfRun>);
}

TEST(ReportedEndOfRun, IsTheOneThatWasThrown) {
    const auto [end, report] = handled(
        [] { throw EndOfRun("autoresponder: the line", "the reason", EndOfRun::Cause::kMessage); });
    EXPECT_EQ(report, "autoresponder: the line\n");
    EXPECT_EQ(end.line(), "autoresponder: the line");
    EXPECT_EQ(end.reason(), "the reason");
    EXPECT_EQ(end.cause(), EndOfRun::Cause::kMessage);
}

TEST(ReportedEndOfRun, OfExhaustedMemoryIsAFailure) {
    const auto [end, report] = handled([] { throw std::bad_alloc(); });
    EXPECT_EQ(report, "autoresponder: Program failed due to exhausted memory\n");
    EXPECT_EQ(end.reason(), "Program failed due to exhausted memory");
    EXPECT_EQ(end.cause(), EndOfRun::Cause::kFailure);
}

TEST(ReportedEndOfRun, OfAnotherExceptionIsTheMessagesFault) {
    const auto [end, report] = handled([] { throw std::out_of_range("substr"); });
    EXPECT_EQ(report, "autoresponder: Failed to process the message: substr\n");
    EXPECT_EQ(end.reason(), "it cannot be processed: substr");
    EXPECT_EQ(end.cause(), EndOfRun::Cause::kMessage);
}

}  // namespace
