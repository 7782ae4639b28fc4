// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/tokenizer.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> tokens(const std::string& text,
                                const mimelib::ByteClasses& classes = mimelib::kAddressBytes) {
    std::vector<std::string> all;
    mimelib::Tokenizer tokenizer(text, classes);
    for (auto token = tokenizer.next(); token.kind != mimelib::TokenKind::kEnd;
         token = tokenizer.next()) {
        all.push_back(text.substr(token.slice.begin, token.slice.length));
    }
    return all;
}

mimelib::TokenKind kind(const std::string& text) {
    return mimelib::Tokenizer(text, mimelib::kAddressBytes).next().kind;
}

TEST(Tokenizer, TellsTheKinds) {
    EXPECT_EQ(kind("a"), mimelib::TokenKind::kAtom);
    EXPECT_EQ(kind("\"a\""), mimelib::TokenKind::kQuotedString);
    EXPECT_EQ(kind("(a)"), mimelib::TokenKind::kComment);
    EXPECT_EQ(kind("[a]"), mimelib::TokenKind::kDomainLiteral);
    EXPECT_EQ(kind("@"), mimelib::TokenKind::kSpecial);
    EXPECT_EQ(kind(" \n"), mimelib::TokenKind::kEnd);
}

TEST(Tokenizer, ControlCharactersAreGapsExceptOne) {
    EXPECT_THAT(tokens(std::string("a\0b\x01"
                                   "c\x1F"
                                   "d\te",
                                   9)),
                ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_THAT(tokens("a\x10"
                       "b"),
                ElementsAre("a\x10"
                            "b"));
}

TEST(Tokenizer, DeleteAndHighBytesAreOrdinary) {
    EXPECT_THAT(tokens("a\x7F\x80\xFF"), ElementsAre("a\x7F\x80\xFF"));
}

TEST(Tokenizer, SpecialsDifferBetweenAddressesAndMediaTypes) {
    EXPECT_THAT(tokens("a.b/c?d=e"), ElementsAre("a", ".", "b/c?d=e"));
    EXPECT_THAT(tokens("a.b/c?d=e", mimelib::kMediaTypeBytes),
                ElementsAre("a.b", "/", "c", "?", "d", "=", "e"));
    EXPECT_THAT(tokens(")<>@,;:\\]"), ElementsAre(")", "<", ">", "@", ",", ";", ":", "\\", "]"));
}

TEST(Tokenizer, ABackslashTakesTheNextCharacterWithIt) {
    EXPECT_THAT(tokens(R"("a\"b" (c\)d) [e\]f])"),
                ElementsAre(R"("a\"b")", R"((c\)d))", R"([e\]f])"));
    EXPECT_THAT(tokens(R"("a\\" b)"), ElementsAre(R"("a\\")", "b"));
}

TEST(Tokenizer, CommentsNest) {
    EXPECT_THAT(tokens("(a(b)c)d"), ElementsAre("(a(b)c)", "d"));
    EXPECT_THAT(tokens("(a\")b"), ElementsAre("(a\")", "b"));
}

TEST(Tokenizer, DomainLiteralsDoNotNest) {
    EXPECT_THAT(tokens("[a[b]c]"), ElementsAre("[a[b]", "c", "]"));
}

TEST(Tokenizer, WhatIsNeverClosedSwallowsTheRest) {
    EXPECT_THAT(tokens("a \"b, c"), ElementsAre("a"));
    EXPECT_THAT(tokens("a (b (c) d"), ElementsAre("a"));
    EXPECT_THAT(tokens("[a"), IsEmpty());
    EXPECT_THAT(tokens("\"a\\\""), IsEmpty());
    EXPECT_THAT(tokens("\"a\\"), IsEmpty());
    EXPECT_THAT(tokens("(a\\"), IsEmpty());
}

}  // namespace
