#include "tests/unit/mimelib/vectors.h"

#include <gtest/gtest.h>

namespace {

TEST(Vectors, EveryRecordedMessageReadsAsRecorded) {
    const std::vector<Vector> vectors = load_vectors(MIMELIB_VECTORS);
    ASSERT_EQ(vectors.size(), 579U);
    for (std::size_t i = 0; i < vectors.size(); ++i) {
        EXPECT_EQ(read_message(to_dw_string(vectors[i].message)), vectors[i].expected)
            << "vector " << i << ": " << vectors[i].message;
    }
}

}  // namespace
