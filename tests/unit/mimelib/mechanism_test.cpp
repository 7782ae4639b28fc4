// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <mimelib/enum.h>
#include <mimelib/field_body.h>
#include <mimelib/mimepp.h>

namespace {

int mechanism(const char* text) {
    return DwMechanism(DwString(text)).AsEnum();
}

TEST(Mechanism, KnowsTheEncodingsInAnyCase) {
    EXPECT_EQ(mechanism("7bit"), DwMime::kCte7bit);
    EXPECT_EQ(mechanism("8BIT"), DwMime::kCte8bit);
    EXPECT_EQ(mechanism("Binary"), DwMime::kCteBinary);
    EXPECT_EQ(mechanism("Quoted-Printable"), DwMime::kCteQuotedPrintable);
    EXPECT_EQ(mechanism("BASE64"), DwMime::kCteBase64);
}

TEST(Mechanism, AnythingAroundTheWordMakesItUnknown) {
    EXPECT_EQ(mechanism("base64;"), DwMime::kCteUnknown);
    EXPECT_EQ(mechanism("base64 (c)"), DwMime::kCteUnknown);
    EXPECT_EQ(mechanism("\"base64\""), DwMime::kCteUnknown);
    EXPECT_EQ(mechanism("\n base64"), DwMime::kCteUnknown);
    EXPECT_EQ(mechanism("qp"), DwMime::kCteUnknown);
}

TEST(Mechanism, AnEmptyFieldIsNoEncoding) {
    EXPECT_EQ(mechanism(""), DwMime::kCteNull);
}

}  // namespace
