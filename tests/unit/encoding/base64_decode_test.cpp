// SPDX-License-Identifier: Apache-2.0

#include "encoding/base64_decode.h"

#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "encoding/base64_decode_internal.h"
#include "tests/unit/encoding/stderr_writes.h"

namespace {

// What base64_decode writes to standard error while it decodes `text`.
std::string complaints(const std::string& text) {
    testing::internal::CaptureStderr();
    tolva::base64_decode(text);
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(LenientBase64, GroupsOfThreeTwoAndOneByte) {
    EXPECT_EQ(tolva::base64_decode("QUJD"), "ABC");
    EXPECT_EQ(tolva::base64_decode("QUI="), "AB");
    EXPECT_EQ(tolva::base64_decode("QQ=="), "A");
    EXPECT_EQ(tolva::base64_decode(""), "");
}

TEST(LenientBase64, PaddingMayBeMissing) {
    EXPECT_EQ(tolva::base64_decode("QUI"), "AB");
    EXPECT_EQ(tolva::base64_decode("QQ"), "A");
}

TEST(LenientBase64, SingleSymbolYieldsOneByte) {
    EXPECT_EQ(tolva::base64_decode("Q"), "@");
}

TEST(LenientBase64, AllSymbols) {
    EXPECT_EQ(
        tolva::base64_decode("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"),
        std::string("\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61"
                    "\x96\x9B\x71\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C"
                    "\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3\xDF\xBF",
                    48));
}

TEST(LenientBase64, TextAfterTheFirstPaddingIsIgnored) {
    EXPECT_EQ(tolva::base64_decode("QQ==QUJD"), "A");
    EXPECT_EQ(tolva::base64_decode("=QUJD"), "");
    EXPECT_EQ(complaints("QQ=***"), "");
}

TEST(LenientBase64, BlanksAndLineEndsBetweenGroupsAreSkippedSilently) {
    EXPECT_EQ(tolva::base64_decode("QUJD \t\r\nREVG"), "ABCDEF");
    EXPECT_EQ(complaints("QUJD \t\r\nREVG"), "");
}

TEST(LenientBase64, SkippedBytesCountForTheLengthOfTheirGroup) {
    // Three bytes read for one byte's worth of symbols, then four.
    EXPECT_EQ(tolva::base64_decode("QQ\n=="), std::string("A\0", 2));
    EXPECT_EQ(tolva::base64_decode("QQ\r\n=="), std::string("A\0\0", 3));
    EXPECT_EQ(tolva::base64_decode("QUJD\n"), std::string("ABC\0", 4));
    EXPECT_EQ(tolva::base64_decode("QUJD\r\n\r\n"), std::string("ABC\0\0\0", 6));
}

TEST(LenientBase64, BadSymbolsAreNamedSkippedAndCounted) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(tolva::base64_decode("Q*U#JD"), "ABC");
    EXPECT_EQ(tolva::base64_decode("QQ**"), std::string("A\0\0", 3));
    EXPECT_EQ(tolva::base64_decode("**"), std::string("\0", 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Bad base64 symbol: *\nBad base64 symbol: #\nBad base64 symbol: *\n"
              "Bad base64 symbol: *\nBad base64 symbol: *\nBad base64 symbol: *\n");
}

TEST(LenientBase64, SymbolsOfTheUrlAlphabetAreBadSymbols) {
    EXPECT_EQ(complaints("QU-_JD"), "Bad base64 symbol: -\nBad base64 symbol: _\n");
}

TEST(LenientBase64, ZeroAndHighBytesAreBadSymbols) {
    EXPECT_EQ(complaints(std::string("\0QUJD", 5)), std::string("Bad base64 symbol: \0\n", 21));
    EXPECT_EQ(complaints("\xC3\xBCQUJD"), "Bad base64 symbol: \xC3\nBad base64 symbol: \xBC\n");
}

TEST(LenientBase64, EveryOneOfManyBadSymbolsIsNamed) {
    const std::size_t count = 100000;
    std::string expected;
    for (std::size_t i = 0; i < count; ++i) {
        expected += "Bad base64 symbol: -\n";
    }
    EXPECT_EQ(complaints(std::string(count, '-')), expected);
}

TEST(LenientBase64, ComplaintsAreWrittenTogether) {
    StderrWrites standard_error;
    tolva::base64_decode("*#");
    EXPECT_THAT(standard_error.take(),
                testing::ElementsAre("Bad base64 symbol: *\nBad base64 symbol: #\n"));
}

TEST(Base64Take, ReturnsTheValueAndMovesPastTheSymbol) {
    std::size_t pos = 0;
    EXPECT_EQ(tolva::base64Take("/a", &pos), 63U);
    EXPECT_EQ(pos, 1U);
    EXPECT_EQ(tolva::base64Take("/a", &pos), 26U);
    EXPECT_EQ(pos, 2U);
}

TEST(Base64Take, NamesBadSymbols) {
    testing::internal::CaptureStderr();
    std::size_t pos = 0;
    EXPECT_EQ(tolva::base64Take("*#B*", &pos), 1U);
    EXPECT_EQ(pos, 3U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Bad base64 symbol: *\nBad base64 symbol: #\n");
}

TEST(Base64Take, StaysAtTheEnd) {
    std::size_t pos = 2;
    EXPECT_EQ(tolva::base64Take("QQ", &pos), 0U);
    EXPECT_EQ(pos, 2U);
}

TEST(Base64Take, StaysAtPadding) {
    std::size_t pos = 1;
    EXPECT_EQ(tolva::base64Take("Q=Q", &pos), 0U);
    EXPECT_EQ(pos, 1U);
}

TEST(Base64Take, MovesOverSkippedBytesBeforePaddingOrTheEnd) {
    std::size_t pos = 0;
    EXPECT_EQ(tolva::base64Take(" \t\r\n=", &pos), 0U);
    EXPECT_EQ(pos, 4U);
    pos = 0;
    EXPECT_EQ(tolva::base64Take("  ", &pos), 0U);
    EXPECT_EQ(pos, 2U);
}
