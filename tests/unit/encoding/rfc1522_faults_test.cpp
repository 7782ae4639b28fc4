// SPDX-License-Identifier: Apache-2.0

// The conversions that decoding a field body opens, and failures that no text can cause.
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "encoding/rfc1522.h"
#include "tests/unit/encoding/iconv_calls.h"
#include "tests/unit/encoding/test_texts.h"

using tolva::rfc1522::decode;

namespace {

class DecodeFaults : public testing::Test {
  protected:
    void SetUp() override { iconv_calls = IconvCalls(); }
};

}  // namespace

TEST_F(DecodeFaults, EveryDescriptorIsClosed) {
    EXPECT_EQ(decode("=?utf-8?Q?a?= =?iso-8859-1?Q?=E9?= =?utf-8?Q?b?="), "a\xC3\xA9\x62");
    EXPECT_GE(iconv_calls.opened, 3);
    EXPECT_EQ(iconv_calls.closed, iconv_calls.opened);
}

TEST_F(DecodeFaults, EveryDescriptorIsClosedWhenAWordFails) {
    EXPECT_THROW(decode("=?utf-8?Q?a?= =?iso-8859-1?Q?b?= =?utf-8?Q?=C3?="), std::runtime_error);
    EXPECT_GE(iconv_calls.opened, 3);
    EXPECT_EQ(iconv_calls.closed, iconv_calls.opened);
}

TEST_F(DecodeFaults, FailedCloseFailsTheWhole) {
    iconv_calls.close_fails = true;
    EXPECT_EQ(thrown_text<std::runtime_error>([] { decode("x =?us-ascii?Q?a?= y"); }),
              "Closing conversion from us-ascii to utf-8 failed");
}

TEST_F(DecodeFaults, TextWithoutEncodedWordsOpensNothing) {
    EXPECT_EQ(decode("plain text"), "plain text");
    EXPECT_TRUE(iconv_calls.tried.empty());
}
