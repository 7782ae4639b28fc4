// SPDX-License-Identifier: Apache-2.0

// The calls of iconv(3) that a conversion makes, and failures that no text can cause.
#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "encoding/iconv_recode.h"
#include "tests/unit/encoding/iconv_calls.h"
#include "tests/unit/encoding/test_texts.h"

namespace {

std::string failure(const std::string& from, const std::string& to) {
    return thrown_text<std::runtime_error>([&] { tolva::iconvRecode("abc", from, to, true); });
}

class IconvFaults : public testing::Test {
  protected:
    void SetUp() override { iconv_calls = IconvCalls(); }
};

}  // namespace

TEST_F(IconvFaults, SuccessClosesTheDescriptorOnce) {
    EXPECT_EQ(failure("US-ASCII", "UTF-8"), "");
    EXPECT_EQ(iconv_calls.opened, 1);
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvFaults, EmptyTextOpensAndClosesAndConvertsNothing) {
    EXPECT_EQ(tolva::iconvRecode("", "US-ASCII", "UTF-8", true), "");
    EXPECT_EQ(iconv_calls.opened, 1);
    EXPECT_EQ(iconv_calls.closed, 1);
    EXPECT_THAT(iconv_calls.rooms, testing::IsEmpty());
}

TEST_F(IconvFaults, FailedConversionClosesTheDescriptorOnce) {
    EXPECT_EQ(failure("UTF-16LE", "UTF-8"), "Conversion from UTF-16LE to UTF-8");
    EXPECT_EQ(iconv_calls.opened, 1);
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvFaults, RefusedPieceClosesTheDescriptorOnce) {
    EXPECT_EQ(thrown_text<std::logic_error>([] {
                  tolva::iconvRecode("abc", "US-ASCII", "UTF-8", true,
                                     [](std::string_view) { throw std::logic_error("refused"); });
              }),
              "refused");
    EXPECT_EQ(iconv_calls.opened, 1);
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvFaults, UnknownCharsetClosesNothing) {
    EXPECT_EQ(failure("no-such-charset", "UTF-8"), "Cannot convert from no-such-charset to UTF-8");
    EXPECT_EQ(iconv_calls.opened, 0);
    EXPECT_EQ(iconv_calls.closed, 0);
}

TEST_F(IconvFaults, LongNameIsUnknownWithoutATry) {
    // The time of iconv_open(3) grows with the square of the length of a name like this.
    const std::string name = "UTF-8" + repeat("/a", 500000);
    EXPECT_EQ(failure(name, "UTF-8"), "Cannot convert from " + name + " to UTF-8");
    EXPECT_EQ(failure("UTF-8", name), "Cannot convert from UTF-8 to " + name);
    EXPECT_THAT(iconv_calls.tried, testing::IsEmpty());
}

TEST_F(IconvFaults, EveryCallHasAPieceOf4096BytesToFill) {
    EXPECT_EQ(tolva::iconvRecode(std::string(10000, 'x'), "US-ASCII", "UTF-8", true),
              std::string(10000, 'x'));
    EXPECT_THAT(iconv_calls.rooms, testing::ElementsAre(4096, 4096, 4096));

    iconv_calls.rooms.clear();
    EXPECT_EQ(tolva::iconvRecode("a\xFF\x62", "UTF-8", "UTF-8", true), "a?b");
    EXPECT_THAT(iconv_calls.rooms, testing::ElementsAre(4096, 4096));
}

TEST_F(IconvFaults, FailedCloseNamesUtf8WhateverTheTarget) {
    iconv_calls.close_fails = true;
    EXPECT_EQ(failure("US-ASCII", "ISO-8859-1"),
              "Closing conversion from US-ASCII to utf-8 failed");
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvFaults, FailedCloseFailsForAnEmptyTextToo) {
    iconv_calls.close_fails = true;
    EXPECT_EQ(
        thrown_text<std::runtime_error>([] { tolva::iconvRecode("", "US-ASCII", "UTF-8", true); }),
        "Closing conversion from US-ASCII to utf-8 failed");
}

TEST_F(IconvFaults, OtherErrorsFail) {
    iconv_calls.stalls = true;
    iconv_calls.stall_errno = EBADF;
    EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
}

TEST_F(IconvFaults, CallThatReadsNothingEndsTheConversion) {
    iconv_calls.stalls = true;
    for (const int error : {0, E2BIG}) {
        iconv_calls.stall_errno = error;
        iconv_calls.stall_output = 0;
        EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
        iconv_calls.stall_output = 4096;
        EXPECT_EQ(failure("US-ASCII", "UTF-8"), "Conversion from US-ASCII to UTF-8");
    }
    EXPECT_EQ(iconv_calls.closed, iconv_calls.opened);
}
