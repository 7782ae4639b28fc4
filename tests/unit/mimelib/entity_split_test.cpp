// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/entity_split.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Pieces = std::pair<std::string, std::string>;

Pieces split(const std::string& text) {
    const auto found = mimelib::split_entity(text);
    return {text.substr(0, found.headers_length), text.substr(found.body_start)};
}

TEST(EntitySplit, AnEmptyLineBelongsToNeitherSide) {
    EXPECT_EQ(split("A: b\n\nc\n"), Pieces("A: b\n", "c\n"));
    EXPECT_EQ(split("A: b\r\n\r\nc\r\n"), Pieces("A: b\r\n", "c\r\n"));
    EXPECT_EQ(split("A: b\n\n\nc"), Pieces("A: b\n", "\nc"));
}

TEST(EntitySplit, MixedLineEndsEndTheHeadersToo) {
    EXPECT_EQ(split("A: b\n\r\nc"), Pieces("A: b\n", "c"));
    EXPECT_EQ(split("A: b\r\n\nc"), Pieces("A: b\r\n", "c"));
    EXPECT_EQ(split("A: b\n\r\n\nc"), Pieces("A: b\n", "\nc"));
}

TEST(EntitySplit, ALineEndAtTheStartMeansNoHeaders) {
    EXPECT_EQ(split("\nA: b\n\n"), Pieces("", "A: b\n\n"));
    EXPECT_EQ(split("\r\nA: b\n\n"), Pieces("", "A: b\n\n"));
    EXPECT_EQ(split("\n"), Pieces("", ""));
    EXPECT_EQ(split(""), Pieces("", ""));
}

TEST(EntitySplit, ALineThatIsNoHeaderLineIsBody) {
    EXPECT_EQ(split("A: b\nno colon\nC: d\n\n"), Pieces("A: b\n", "no colon\nC: d\n\n"));
    EXPECT_EQ(split("no colon\n"), Pieces("", "no colon\n"));
    EXPECT_EQ(split("A: b\n\r\r\nc"), Pieces("A: b\n", "\r\r\nc"));
}

TEST(EntitySplit, BlankAndFoldedLinesStayInTheHeaders) {
    EXPECT_EQ(split("A: b\n \nC: d\n\ne"), Pieces("A: b\n \nC: d\n", "e"));
    EXPECT_EQ(split("A: b\n\t\n\ne"), Pieces("A: b\n\t\n", "e"));
}

TEST(EntitySplit, ALastLineWithoutLineEndIsAHeaderLine) {
    EXPECT_EQ(split("A: b\nno colon"), Pieces("A: b\nno colon", ""));
    EXPECT_EQ(split("A: b\n\r"), Pieces("A: b\n\r", ""));
    EXPECT_EQ(split("x"), Pieces("x", ""));
}

}  // namespace
