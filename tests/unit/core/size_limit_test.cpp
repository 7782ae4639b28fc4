#include "core/size_limit.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

TEST(SizeLimit, IsExceededByWhatIsStrictlyLarger) {
    EXPECT_FALSE(SizeLimit(1000).is_exceeded_by(1000));
    EXPECT_TRUE(SizeLimit(1000).is_exceeded_by(1001));
}

TEST(SizeLimit, OfZeroOrLessIsNone) {
    EXPECT_FALSE(SizeLimit(0).is_exceeded_by(1));
    EXPECT_FALSE(SizeLimit(-1).is_exceeded_by(1));
}

TEST(SizeLimit, IsComparedWithTheWholeSize) {
    constexpr off_t beyond_32_bits = (off_t{1} << 32) + 1;
    EXPECT_TRUE(SizeLimit(std::numeric_limits<int>::max()).is_exceeded_by(beyond_32_bits));
    EXPECT_TRUE(SizeLimit(10).is_exceeded_by(beyond_32_bits));
}

}  // namespace
