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
    DwDecodeQuotedPrintable(to_dw_string(text), out);
    return to_string(out);
}

int result(const std::string& text) {
    DwString out;
    return DwDecodeQuotedPrintable(to_dw_string(text), out);
}

TEST(QuotedPrintable, DecodesHexDigitsInEitherCase) {
    EXPECT_EQ(decoded("=41=c3=A9b"),
              "A\xC3\xA9"
              "b");
    EXPECT_EQ(decoded("a=0D=0A"), "a\r\n");
    EXPECT_EQ(decoded("=00"), std::string("\0", 1));
}

TEST(QuotedPrintable, OtherCharactersCountAsTheirCode) {
    EXPECT_EQ(decoded("=zz"), "\x1A");
    EXPECT_EQ(decoded("=4z"), "\xBA");
    EXPECT_EQ(decoded("=z4"), "\xA4");
    EXPECT_EQ(decoded("==41"),
              "\xD4"
              "1");
    EXPECT_EQ(decoded("=\xFF"
                      "41"),
              "\xF4"
              "1");
    EXPECT_EQ(decoded("=4\xFF"), "\xBF");
}

TEST(QuotedPrintable, AnEqualsSignAtALineEndJoinsLines) {
    EXPECT_EQ(decoded("a=\nb"), "ab");
    EXPECT_EQ(decoded("a= \t\r\nb"), "ab");
    EXPECT_EQ(decoded("a="), "a");
    EXPECT_EQ(decoded("=\n=\n=\n"), "");
}

TEST(QuotedPrintable, AnEqualsSignBeforeASingleLastCharacterIsDropped) {
    EXPECT_EQ(decoded("a=4"), "a4");
    EXPECT_EQ(decoded("a=4\nb"), "a4\nb");
    EXPECT_EQ(decoded("a=\xE9"), "ai");
    EXPECT_EQ(decoded("a==\nb"), "ab");
}

TEST(QuotedPrintable, BlanksTabsAndCarriageReturnsAtLineEndsAreCut) {
    EXPECT_EQ(decoded("a \t\nb\r\r\nc "), "a\nb\nc");
    EXPECT_EQ(decoded(" \t\r"), "");
    EXPECT_EQ(decoded("a\t b"), "a\t b");
    EXPECT_EQ(decoded("a\rb"), "a\rb");
}

TEST(QuotedPrintable, AFormFeedOrVerticalTabAtALineEndStaysWithTheBlanksBeforeIt) {
    EXPECT_EQ(decoded("a \f\nb\t\v \r\nc\f"), "a \f\nb\t\v\nc\f");
    EXPECT_EQ(decoded("a\xA0\x8C\nb\x8B\xA0\n"), "a \f\nb\v\n");
    EXPECT_EQ(decoded("\f=\n\v"), "\f\v");
}

TEST(QuotedPrintable, AnEqualsSignBeforeAFormFeedOrVerticalTabJoinsNoLines) {
    EXPECT_EQ(decoded("a=\f\nb=\v \nc"), "a\f\nb\v\nc");
    EXPECT_EQ(decoded("a=\x8C\nb=\x8B\nc"), "a\f\nb\v\nc");
    EXPECT_EQ(decoded("a=\r\f\nb"), "a\xDC\nb");
    EXPECT_EQ(result("a=\f\n"), -1);
}

TEST(QuotedPrintable, LineFeedsStay) {
    EXPECT_EQ(decoded("a\n\n\nb"), "a\n\n\nb");
    EXPECT_EQ(decoded("\r\n\r\n"), "\n\n");
}

TEST(QuotedPrintable, TheHighestBitIsCleared) {
    EXPECT_EQ(decoded("\xE9\xFF"), "i\x7F");
    EXPECT_EQ(decoded("a\x80z"), std::string("a\0z", 3));
}

TEST(QuotedPrintable, TheHighestBitIsClearedBeforeAnythingIsDecided) {
    EXPECT_EQ(decoded("x\xBD"
                      "C3\xBD"
                      "A9"),
              "x\xC3\xA9");
    EXPECT_EQ(decoded("=\xE3\xB9"), "\xC9");
    EXPECT_EQ(decoded("a\xBD\nb"), "ab");
    EXPECT_EQ(decoded("a\xBD\xA0\nb"), "ab");
    EXPECT_EQ(decoded("a \x89 \xA0\nb\x8D\x8A\nc\xA0"), "a\nb\nc");
    EXPECT_EQ(decoded("\xBD"
                      "4\n"),
              "4\n");
    EXPECT_EQ(result("=\xB4\xB1"), 0);
    EXPECT_EQ(result("\xBD"
                     "4z"),
              -1);
}

TEST(QuotedPrintable, OnlyTheLineFeedItselfEndsALine) {
    EXPECT_EQ(decoded("a \x8A z"), "a \n z");
    EXPECT_EQ(decoded("a=\x8A"
                      "b"),
              "a\xAB");
}

TEST(QuotedPrintable, TheInputEndsAtAZeroByte) {
    EXPECT_EQ(decoded(std::string("a \0b", 4)), "a");
    EXPECT_EQ(decoded(std::string("\0a", 2)), "");
}

TEST(QuotedPrintable, TellsMalformedInput) {
    EXPECT_EQ(result("a=41=\n"), 0);
    EXPECT_EQ(result("=4z"), -1);
    EXPECT_EQ(result("=4"), -1);
    EXPECT_EQ(result("=zz=41"), -1);
}

TEST(QuotedPrintable, OutputMayBeTheInput) {
    DwString text("=41");
    DwDecodeQuotedPrintable(text, text);
    EXPECT_EQ(text, DwString("A"));
}

TEST(QuotedPrintable, ALargeTextIsInMemoryOnce) {
    constexpr std::size_t pieces = 1000000;
    std::string encoded;
    std::string expected;
    for (std::size_t i = 0; i < pieces; ++i) {
        encoded += "ABC\n";
        expected += "ABC\n";
    }
    const DwString in = to_dw_string(encoded);
    const HeapUse heap;
    DwString out;
    DwDecodeQuotedPrintable(in, out);
    EXPECT_LT(heap.peak(), expected.size() * 7 / 4) << "it was in memory twice";
    EXPECT_TRUE(to_string(out) == expected);
}

}  // namespace
