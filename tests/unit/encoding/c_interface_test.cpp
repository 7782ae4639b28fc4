// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/encoding/c_interface.h"

#include <array>

#include <gtest/gtest.h>

TEST(CInterface, Base64RoundTripCompiledAsC) {
    std::array<char, 64> encoded{};
    std::array<char, 64> decoded{};

    EXPECT_EQ(round_trip_in_c("Hello, world", encoded.data(), decoded.data(), encoded.size()), 12U);

    EXPECT_STREQ(encoded.data(), "SGVsbG8sIHdvcmxk");
    EXPECT_STREQ(decoded.data(), "Hello, world");
}

TEST(CInterface, IdnStrerrorCompiledAsC) {
    EXPECT_STREQ(idn_strerror_in_c(0), "Success");
    EXPECT_STREQ(idn_strerror_in_c(5), "Invalid length");
}
