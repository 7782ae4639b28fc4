// SPDX-License-Identifier: Apache-2.0

#include "control/terminal.h"

#include <gtest/gtest.h>

namespace {

using namespace autoresponder::control;

TEST(Printable, TextStaysAsItIs) {
    EXPECT_EQ(printable(""), "");
    EXPECT_EQ(printable("price \xD1\x86\xD0\xB5\xD0\xBD\xD0\xB0 \xE2\x82\xAC \xF0\x9F\x98\x80"),
              "price \xD1\x86\xD0\xB5\xD0\xBD\xD0\xB0 \xE2\x82\xAC \xF0\x9F\x98\x80");
}

TEST(Printable, ControlCharactersAreSpeltOut) {
    EXPECT_EQ(printable("a\nb\tc\x1b[2J\x7f"), "a\\nb\\tc\\x1b[2J\\x7f");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(printable("\xC2\x9B"), "\\xc2\\x9b");  // a control character of ISO 8859
}

TEST(Printable, BytesThatAreNoUtf8AreSpeltOut) {
    EXPECT_EQ(printable("caf\xE9"), "caf\\xe9");
    EXPECT_EQ(printable("\xC3"), "\\xc3");
    EXPECT_EQ(printable("\xC0\xAF"), "\\xc0\\xaf");           // overlong
    EXPECT_EQ(printable("\xE0\x80\xAF"), "\\xe0\\x80\\xaf");  // overlong
    EXPECT_EQ(printable("\xED\xA0\x80"), "\\xed\\xa0\\x80");  // a surrogate
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
    EXPECT_EQ(printable("\xE2\x82x"), "\\xe2\\x82x");
}

TEST(Coloured, TextIsPlainWhereItIsNoTerminal) {
    testing::internal::CaptureStdout();
    const std::string text = coloured("good", Colour::kGood);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(text, "good");
}

}  // namespace
