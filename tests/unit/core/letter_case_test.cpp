#include "core/letter_case.h"

#include <gtest/gtest.h>

namespace {

TEST(LetterCase, OfAsciiLettersOnlyIsLowered) {
    EXPECT_EQ(lowered("ABCXYZ @[`{ abcxyz 09"), "abcxyz @[`{ abcxyz 09");
    EXPECT_EQ(lowered("\xC3\x96\xC9"), "\xC3\x96\xC9");
}

TEST(LetterCase, DoesNotCountInComparisons) {
    EXPECT_TRUE(equals_ignoring_case("List-ID", "lIST-id"));
    EXPECT_TRUE(equals_ignoring_case("", ""));
    EXPECT_FALSE(equals_ignoring_case("List-Id", "List-I"));
    EXPECT_FALSE(equals_ignoring_case("@", "`"));
    EXPECT_FALSE(equals_ignoring_case("[", "{"));
    EXPECT_FALSE(equals_ignoring_case("\xC3\x96", "\xC3\xB6"));
}

}  // namespace
