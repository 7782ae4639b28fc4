// SPDX-License-Identifier: Apache-2.0

#include "support/result.h"

#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using tolva::Errno;
using tolva::Result;

Result<std::string> text_or(int error) {
    if (error != 0) {
        return Errno{error};
    }
    return std::string("text");
}

TEST(Result, HoldsAValue) {
    const Result<std::string> result = text_or(0);
    EXPECT_TRUE(result);
    EXPECT_EQ(result.error(), 0);
    EXPECT_EQ(*result, "text");
    EXPECT_EQ(result->size(), 4U);
}

TEST(Result, HoldsAnErrorInItsPlace) {
    const Result<std::string> result = text_or(ENOENT);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.error(), ENOENT);
}

TEST(Result, OfANumberIsTrueWhateverTheNumber) {
    const Result<int> zero = 0;
    EXPECT_TRUE(zero);
    EXPECT_EQ(*zero, 0);
    const Result<bool> no = false;
    EXPECT_TRUE(no);
    EXPECT_FALSE(*no);
}

TEST(Result, LetsItsValueBeChangedAndMovedOut) {
    Result<std::unique_ptr<int>> result = std::make_unique<int>(1);
    **result = 2;
    const std::unique_ptr<int> taken = std::move(*result);
    EXPECT_EQ(*taken, 2);
    EXPECT_TRUE(result);
}

TEST(Result, CanBeReplacedByAnother) {
    Result<std::string> result = text_or(ENOENT);
    result = text_or(0);
    EXPECT_TRUE(result);
    EXPECT_EQ(result.error(), 0);
    result = text_or(EACCES);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.error(), EACCES);
}

TEST(ResultOfNothing, IsSuccessByDefault) {
    const Result<void> result;
    EXPECT_TRUE(result);
    EXPECT_EQ(result.error(), 0);
}

TEST(ResultOfNothing, HoldsAnError) {
    const Result<void> result = Errno{EFBIG};
    EXPECT_FALSE(result);
    EXPECT_EQ(result.error(), EFBIG);
}

}  // namespace
