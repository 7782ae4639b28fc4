#include "core/boundary.h"

#include <cctype>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

TEST(Boundary, IsEightHyphensEqualsUnderscoreAndTwentyNineLetters) {
    const std::string boundary = makeBoundaryStr();
    ASSERT_EQ(boundary.size(), 39U);
    EXPECT_EQ(boundary.substr(0, 10), "--------=_");
    for (const char c : boundary.substr(10)) {
        EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(c))) << boundary;
    }
}

TEST(Boundary, NumbersBelowTwentySixYieldCapitalsTheOthersSmallLetters) {
    std::srand(1);
    std::string expected = "--------=_";
    for (int i = 0; i < 29; ++i) {
        expected += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"[std::rand() % 52];
    }
    std::srand(1);
    EXPECT_EQ(makeBoundaryStr(), expected);
}

TEST(Boundary, EachCallTakesTheNextNumbers) {
    const std::string first = makeBoundaryStr();
    EXPECT_NE(makeBoundaryStr(), first);
}

}  // namespace
