#include "core/delivery.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(SizeLimit, IsExceededByWhatIsStrictlyLarger) {
    EXPECT_FALSE(exceeds_size_limit(1000, 1000));
    EXPECT_TRUE(exceeds_size_limit(1001, 1000));
}

TEST(SizeLimit, OfZeroOrLessIsNone) {
    EXPECT_FALSE(exceeds_size_limit(1, 0));
    EXPECT_FALSE(exceeds_size_limit(1, -1));
}

TEST(SizeLimit, IsComparedWithTheWholeSize) {
    constexpr off_t beyond_32_bits = (off_t{1} << 32) + 1;
    EXPECT_TRUE(exceeds_size_limit(beyond_32_bits, std::numeric_limits<int>::max()));
    EXPECT_TRUE(exceeds_size_limit(beyond_32_bits, 10));
}

}  // namespace
