// SPDX-License-Identifier: Apache-2.0

#include "encoding/iconv_descriptor.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/encoding/iconv_calls.h"

using tolva::IconvDescriptor;

namespace {

class IconvDescriptorTest : public testing::Test {
  protected:
    void SetUp() override { iconv_calls = IconvCalls(); }
};

}  // namespace

TEST_F(IconvDescriptorTest, IsClosedOnDestruction) {
    {
        const IconvDescriptor descriptor("US-ASCII", "UTF-8");
        EXPECT_TRUE(descriptor.is_open());
        EXPECT_EQ(iconv_calls.closed, 0);
    }
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvDescriptorTest, UnknownCharsetIsNotOpenAndNotClosed) {
    {
        IconvDescriptor descriptor("no-such", "UTF-8");
        EXPECT_FALSE(descriptor.is_open());
        EXPECT_TRUE(descriptor.close());
    }
    EXPECT_EQ(iconv_calls.closed, 0);
}

TEST_F(IconvDescriptorTest, IsClosedOnce) {
    {
        IconvDescriptor descriptor("US-ASCII", "UTF-8");
        EXPECT_TRUE(descriptor.close());
        EXPECT_FALSE(descriptor.is_open());
        EXPECT_TRUE(descriptor.close());
    }
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvDescriptorTest, FailedCloseIsReportedAndNotRepeated) {
    iconv_calls.close_fails = true;
    {
        IconvDescriptor descriptor("US-ASCII", "UTF-8");
        EXPECT_FALSE(descriptor.close());
        EXPECT_FALSE(descriptor.is_open());
    }
    EXPECT_EQ(iconv_calls.closed, 1);
}

TEST_F(IconvDescriptorTest, LongNamesAreNotTried) {
    const std::string longest = "UTF-8" + std::string(1019, '/');
    EXPECT_TRUE(IconvDescriptor(longest, "UTF-8").is_open());
    EXPECT_FALSE(IconvDescriptor(longest + "/", "UTF-8").is_open());
    EXPECT_FALSE(IconvDescriptor("UTF-8", longest + "/").is_open());
    EXPECT_THAT(iconv_calls.tried, testing::ElementsAre(longest));
}
