// SPDX-License-Identifier: Apache-2.0

#include "support/ascii.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using tolva::equals_ignoring_case;
using tolva::lowered;
using tolva::without_control_characters;

// All bytes that belong to the class.
std::string all(bool (*is_one)(char)) {
    std::string found;
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (is_one(c)) {
            found += c;
        }
    }
    return found;
}

TEST(Space, IsABlankOrATabOrWhatEndsALineOrPage) {
    EXPECT_EQ(all(tolva::is_space), "\t\n\v\f\r ");
}

TEST(ControlCharacter, IsAByteBelowTheBlankOrDelete) {
    std::string expected;
    for (char c = 0; c < ' '; ++c) {
        expected += c;
    }
    EXPECT_EQ(all(tolva::is_control_character), expected + "\x7F");
}

TEST(ControlCharacter, IsFoundAnywhereInAText) {
    EXPECT_TRUE(tolva::has_control_character("\nab"));
    EXPECT_TRUE(tolva::has_control_character("ab\x7F"));
    EXPECT_TRUE(tolva::has_control_character(std::string_view("a\0b", 3)));
    EXPECT_FALSE(tolva::has_control_character("a b\xC3\xBC\x80\xFF"));
    EXPECT_FALSE(tolva::has_control_character(""));
}

TEST(ControlCharacter, DoesNotBreakALine) {
    EXPECT_EQ(without_control_characters("a@[x\r\n y]\x7F"), "a@[x?? y]?");
    EXPECT_EQ(without_control_characters("b\xC3\xBC.org"), "b\xC3\xBC.org");
    EXPECT_EQ(without_control_characters(std::string_view("a\0b", 3)), "a?b");
    EXPECT_EQ(without_control_characters(""), "");
}

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
