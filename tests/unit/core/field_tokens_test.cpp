// SPDX-License-Identifier: Apache-2.0

#include "core/message/field_tokens.h"

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_view_literals;

// The tokens, each with a letter for its kind.
std::vector<std::string> tokens(std::string_view body) {
    constexpr std::string_view kinds = "?aqds";
    std::vector<std::string> all;
    FieldTokens reader(body);
    for (FieldToken token = reader.next(); token.kind != FieldToken::Kind::kEnd;
         token = reader.next()) {
        all.push_back(kinds[static_cast<std::size_t>(token.kind)] + std::string(":") +
                      std::string(token.text));
    }
    EXPECT_EQ(reader.next().kind, FieldToken::Kind::kEnd) << "the end is not the end";
    return all;
}

TEST(FieldTokens, AtomsEndAtGapsAndSpecials) {
    EXPECT_THAT(tokens("auto-replied; a=b"), ElementsAre("a:auto-replied", "s:;", "a:a=b"));
    EXPECT_THAT(tokens("a.b@c"), ElementsAre("a:a", "s:.", "a:b", "s:@", "a:c"));
    EXPECT_THAT(tokens("J\xC3\xB6rg \xFF"), ElementsAre("a:J\xC3\xB6rg", "a:\xFF"));
}

TEST(FieldTokens, EachSpecialStandsAlone) {
    EXPECT_THAT(tokens(")<>@,;:\\.]"),
                ElementsAre("s:)", "s:<", "s:>", "s:@", "s:,", "s:;", "s::", "s:\\", "s:.", "s:]"));
}

TEST(FieldTokens, LineEndsAndControlCharactersAreGaps) {
    EXPECT_THAT(tokens(" a\r\n\tb\n c\0d\x7F"
                       "e\x10"
                       "f "sv),
                ElementsAre("a:a", "a:b", "a:c", "a:d", "a:e", "a:f"));
    EXPECT_THAT(tokens(""), IsEmpty());
    EXPECT_THAT(tokens(" \n "), IsEmpty());
}

TEST(FieldTokens, CommentsDivideTokensAndNest) {
    EXPECT_THAT(tokens("a(x)b"), ElementsAre("a:a", "a:b"));
    EXPECT_THAT(tokens("(x (y) z) a ((()))"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("(x \\) y \\( z) a"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("(\") a (\")"), ElementsAre("a:a"));
}

TEST(FieldTokens, AQuotedStringIsOneTokenWithoutItsQuotes) {
    EXPECT_THAT(tokens("\"a, <b> (c)\" d"), ElementsAre("q:a, <b> (c)", "a:d"));
    EXPECT_THAT(tokens("\"a \\\" b\\\\\""), ElementsAre("q:a \\\" b\\\\"));
    EXPECT_THAT(tokens("\"\""), ElementsAre("q:"));
}

TEST(FieldTokens, ADomainLiteralIsOneTokenWithItsBrackets) {
    EXPECT_THAT(tokens("a@[1.2 (x)] b"), ElementsAre("a:a", "s:@", "d:[1.2 (x)]", "a:b"));
    EXPECT_THAT(tokens("[a\\]b]"), ElementsAre("d:[a\\]b]"));
    EXPECT_THAT(tokens("[a[b]c]"), ElementsAre("d:[a[b]", "a:c", "s:]"));
}

TEST(FieldTokens, WhatIsNeverClosedTakesTheRest) {
    EXPECT_THAT(tokens("a (b c"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a (b (c) d"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a \"b c"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a [b c"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a (b\\)"), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a \"b\\\""), ElementsAre("a:a"));
    EXPECT_THAT(tokens("a \"\\"), ElementsAre("a:a"));
}

TEST(FieldTokens, AMegabyteOfNestingIsReadWithoutRecursion) {
    const std::string open(1'000'000, '(');
    EXPECT_THAT(tokens(open), IsEmpty());
    EXPECT_THAT(tokens(open + std::string(1'000'000, ')') + "a"), ElementsAre("a:a"));
}

TEST(FieldToken, WordsAreAtomsAndQuotedStrings) {
    EXPECT_TRUE(FieldTokens("a").next().is_word());
    EXPECT_TRUE(FieldTokens("\"a\"").next().is_word());
    EXPECT_FALSE(FieldTokens("[a]").next().is_word());
    EXPECT_FALSE(FieldTokens(".").next().is_word());
    EXPECT_FALSE(FieldTokens("").next().is_word());
}

TEST(FieldToken, OnlyASpecialIsThatSpecial) {
    EXPECT_TRUE(FieldTokens(";").next().is(';'));
    EXPECT_FALSE(FieldTokens(",").next().is(';'));
    EXPECT_FALSE(FieldTokens("\";\"").next().is(';'));
    EXPECT_FALSE(FieldTokens("").next().is(';'));
}

}  // namespace
