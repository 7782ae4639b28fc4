// SPDX-License-Identifier: Apache-2.0

#include <cstddef>
#include <string>

#include <gtest/gtest.h>
#include <mimelib/codec.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/heap_use.h"
#include "tests/unit/mimelib/reading.h"

namespace {

std::string decoded(const std::string& text) {
    DwString out("left over");
    DwDecodeBase64(to_dw_string(text), out);
    return to_string(out);
}

int result(const std::string& text) {
    DwString out;
    return DwDecodeBase64(to_dw_string(text), out);
}

TEST(Base64, DecodesGroupsOfFour) {
    EXPECT_EQ(decoded("QUJDREVG"), "ABCDEF");
    EXPECT_EQ(decoded("AAD/"), std::string("\0\0\xFF", 3));
    EXPECT_EQ(decoded(""), "");
}

TEST(Base64, SkipsCharactersOutsideTheAlphabet) {
    EXPECT_EQ(decoded("Q U\r\nJ!D"), "ABC");
    EXPECT_EQ(decoded(std::string("QUJD\0RUZH\xE9", 10)), "ABCEFG");
    EXPECT_EQ(decoded("-_-_-_"), "");
}

TEST(Base64, PaddingEndsTheText) {
    EXPECT_EQ(decoded("QQ=="), "A");
    EXPECT_EQ(decoded("QUI="), "AB");
    EXPECT_EQ(decoded("QUJDQQ==QUJD"), "ABCA");
    EXPECT_EQ(decoded("QUJD=RUZH"), "ABC");
}

TEST(Base64, AGroupWithPaddingInTheWrongPlaceDecodesToNothing) {
    EXPECT_EQ(decoded("QUJDQ==="), "ABC");
    EXPECT_EQ(decoded("QUJDQQ=A"), "ABC");
    EXPECT_EQ(decoded("QUJD===="), "ABC");
}

TEST(Base64, ACutGroupDecodesToNothing) {
    EXPECT_EQ(decoded("QUJDRE"), "ABC");
    EXPECT_EQ(decoded("QUJDRUZ"), "ABC");
    EXPECT_EQ(decoded("QUJDQQ="), "ABC");
}

TEST(Base64, InputOfOneTwoOrFiveBytesDecodesToNothing) {
    EXPECT_EQ(decoded("QUJD\n"), "");
    EXPECT_EQ(decoded("=QUJD"), "");
    EXPECT_EQ(decoded("Q"), "");
    EXPECT_EQ(decoded("QQ"), "");
    EXPECT_EQ(decoded("QUJD\r\n"), "ABC");
}

TEST(Base64, WellFormedInputNeedsNoPadding) {
    EXPECT_EQ(result("QUJDREVG"), 0);
    EXPECT_EQ(result("QUJD\r\nREVG\r\n"), 0);
    EXPECT_EQ(result(""), 0);
    EXPECT_EQ(result("\r\n\r\n"), 0);
    EXPECT_EQ(result("\n\n\n"), 0);
}

TEST(Base64, TellsMalformedInput) {
    EXPECT_EQ(result("QUJD\r\nQQ==\r\n"), 0);
    EXPECT_EQ(result("QUJDQ"), -1);
    EXPECT_EQ(result("QUJDRE"), -1);
    EXPECT_EQ(result("QUJDQQ=A"), -1);
}

TEST(Base64, OutputMayBeTheInput) {
    DwString text("QUJD");
    DwDecodeBase64(text, text);
    EXPECT_EQ(text, DwString("ABC"));
}

TEST(Base64, ALargeTextIsInMemoryOnce) {
    constexpr std::size_t pieces = 1000000;
    std::string encoded;
    std::string expected;
    for (std::size_t i = 0; i < pieces; ++i) {
        encoded += "QUJD";
        expected += "ABC";
    }
    const DwString in = to_dw_string(encoded);
    const HeapUse heap;
    DwString out;
    DwDecodeBase64(in, out);
    EXPECT_LT(heap.peak(), expected.size() * 7 / 4) << "it was in memory twice";
    EXPECT_TRUE(to_string(out) == expected);
}

}  // namespace
