#include "core/response_freq.h"

#include <gtest/gtest.h>

namespace {

TEST(FrequencyVerdict, ARememberedSenderIsAnsweredBelowTheLimit) {
    EXPECT_EQ(judge_frequency({"1", "2"}, "3", "10"), FrequencyVerdict::kAnswerAgain);
    EXPECT_EQ(judge_frequency({"1", "3"}, "3", "10"), FrequencyVerdict::kLimitReached);
    EXPECT_EQ(judge_frequency({"1", "4"}, "3", "10"), FrequencyVerdict::kLimitReached);
}

TEST(FrequencyVerdict, ANewSenderIsAnswered) {
    EXPECT_EQ(judge_frequency({"9", {}}, "1", "10"), FrequencyVerdict::kAnswerFirst);
}

TEST(FrequencyVerdict, ANewSenderEvictsOthersFromTheLimitOn) {
    EXPECT_EQ(judge_frequency({"10", {}}, "1", "10"), FrequencyVerdict::kAnswerFirstEvict);
    EXPECT_EQ(judge_frequency({"11", {}}, "1", "10"), FrequencyVerdict::kAnswerFirstEvict);
    EXPECT_EQ(judge_frequency({"0", {}}, "1", "0"), FrequencyVerdict::kAnswerFirstEvict);
    EXPECT_EQ(judge_frequency({"0", {}}, "1", "-1"), FrequencyVerdict::kAnswerFirstEvict);
}

TEST(FrequencyVerdict, ARememberedSenderEvictsNobody) {
    EXPECT_EQ(judge_frequency({"10", "1"}, "3", "10"), FrequencyVerdict::kAnswerAgain);
}

TEST(FrequencyVerdict, WhatIsNoNumberCountsAsZero) {
    EXPECT_EQ(judge_frequency({"x", "x"}, "1", ""), FrequencyVerdict::kAnswerAgain);
    EXPECT_EQ(judge_frequency({"x", {}}, "1", "y"), FrequencyVerdict::kAnswerFirstEvict);
}

TEST(FrequencyLimit, OfZeroOrLessOrNoNumberNeverAnswers) {
    EXPECT_TRUE(never_answers("0"));
    EXPECT_TRUE(never_answers("-1"));
    EXPECT_TRUE(never_answers(""));
    EXPECT_TRUE(never_answers("many"));
    EXPECT_FALSE(never_answers("1"));
    EXPECT_FALSE(never_answers(" 2 a day"));
}

}  // namespace
