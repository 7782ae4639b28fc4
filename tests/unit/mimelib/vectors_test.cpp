// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/mimelib/vectors.h"

#include <cstddef>
#include <random>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/unit/mimelib/naive.h"

namespace {

using namespace std::string_view_literals;

TEST(Vectors, EveryRecordedMessageReadsAsRecorded) {
    const std::vector<Vector> vectors = load_vectors(MIMELIB_VECTORS);
    ASSERT_EQ(vectors.size(), 763U);
    for (std::size_t i = 0; i < vectors.size(); ++i) {
        EXPECT_EQ(read_message(to_dw_string(vectors[i].message)), vectors[i].expected)
            << "vector " << i << ": " << vectors[i].message;
    }
}

TEST(Vectors, TheNaiveReaderReadsThemAsRecorded) {
    for (const Vector& vector : load_vectors(MIMELIB_VECTORS)) {
        EXPECT_EQ(naive::read_message(vector.message), vector.expected) << vector.message;
    }
}

// Cuts, repeats, removes and mixes pieces of the recorded messages.
class Mutator {
  public:
    explicit Mutator(const std::vector<Vector>& vectors) : vectors_(vectors) {}

    std::string message() {
        std::string text = any();
        for (std::size_t i = below(4); i > 0; --i) {
            text.insert(below(text.size() + 1), piece());
        }
        for (std::size_t i = below(3); i > 0; --i) {
            text.erase(below(text.size() + 1), below(8));
        }
        return text;
    }

  private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    const std::string& any() { return vectors_[below(vectors_.size())].message; }
    std::string piece() {
        static constexpr std::string_view bytes = "\0\r\n \t\"\\()<>@,;:.[]/?=-\x10\x7F\xFF'"sv;
        if (below(2) == 0) {
            return std::string(1, bytes[below(bytes.size())]);
        }
        const std::string& source = any();
        return source.substr(below(source.size() + 1), below(24));
    }

    const std::vector<Vector>& vectors_;
    std::mt19937 random_{20051224};  // NOLINT(cert-msc51-cpp): each run tries the same messages
};

TEST(Vectors, MixedMessagesReadAsByTheNaiveReader) {
    const std::vector<Vector> vectors = load_vectors(MIMELIB_VECTORS);
    Mutator mutator(vectors);
    for (int i = 0; i < 20000; ++i) {
        const std::string message = mutator.message();
        ASSERT_EQ(read_message(to_dw_string(message)), naive::read_message(message)) << message;
    }
}

}  // namespace
