// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_stream.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "tests/unit/support/interrupted_pipe.h"

namespace {

using namespace autoresponder;

constexpr std::size_t kMoreThanABuffer = 200'000;

// Text whose every position shows.
std::string pattern(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; text.size() < length; ++i) {
        text += std::to_string(i) + "\n";
    }
    text.resize(length);
    return text;
}

class ReplyStreamTo : public testing::Test {
  protected:
    ReplyStreamTo() : file_(mkstemp(name_.data())) {}
    void TearDown() override { unlink(name_.c_str()); }

    [[nodiscard]] std::string contents() const {
        std::ifstream file(name_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string name_ = testing::TempDir() + "reply-stream-XXXXXX";
    tolva::Descriptor file_;
};

TEST_F(ReplyStreamTo, AFileWritesEverythingInOrder) {
    ReplyStream stream(file_.get(), SizeLimit::none());
    const std::string large = pattern(kMoreThanABuffer);
    stream << "small " << large << 'c' << " end";
    stream.finish();
    EXPECT_TRUE(stream);
    EXPECT_EQ(contents(), "small " + large + "c end");
}

TEST_F(ReplyStreamTo, AFileWritesSingleCharactersBeyondItsBuffer) {
    ReplyStream stream(file_.get(), SizeLimit::none());
    const std::string text = pattern(kMoreThanABuffer);
    for (const char c : text) {
        stream.put(c);
    }
    stream.finish();
    EXPECT_TRUE(stream);
    EXPECT_EQ(contents(), text);
}

TEST(ReplyStream, WritesEverythingHoweverOftenItIsInterrupted) {
    InterruptedPipe pipe;
    ReplyStream stream(pipe.write_end(), SizeLimit::none());
    const std::string text = pattern(kMoreThanABuffer);
    stream << text;
    stream.finish();
    EXPECT_TRUE(stream);
    EXPECT_TRUE(pipe.finish() == text);
}

TEST_F(ReplyStreamTo, TextAsLargeAsTheLimitIsTaken) {
    ReplyStream stream(file_.get(), SizeLimit(10));
    stream << "0123456789";
    stream.finish();
    EXPECT_TRUE(stream);
    EXPECT_FALSE(stream.too_large());
    EXPECT_EQ(contents(), "0123456789");
}

TEST_F(ReplyStreamTo, OneByteBeyondTheLimitIsTooMuch) {
    ReplyStream stream(file_.get(), SizeLimit(10));
    stream << "0123456789" << 'x';
    stream.finish();
    EXPECT_FALSE(stream);
    EXPECT_TRUE(stream.too_large());
    EXPECT_EQ(stream.error(), 0);
}

TEST_F(ReplyStreamTo, BeyondTheLimitNothingMoreIsTaken) {
    ReplyStream stream(file_.get(), SizeLimit(100'000));
    const std::string block = pattern(10'000);
    int taken = 0;
    while (stream.write(block.data(), static_cast<std::streamsize>(block.size()))) {
        ASSERT_LT(++taken, 100);
    }
    EXPECT_TRUE(stream.too_large());
    EXPECT_LE(contents().size(), 100'000U);
}

TEST(ReplyStream, FailsForGoodAtTheFirstWriteThatFails) {
    const tolva::Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    ReplyStream stream(full.get(), SizeLimit::none());
    stream << pattern(kMoreThanABuffer);
    EXPECT_FALSE(stream);
    EXPECT_EQ(stream.error(), ENOSPC);
    EXPECT_FALSE(stream << "more");
}

TEST(ReplyStream, ReportsAFailedWriteOfItsLastBytes) {
    const tolva::Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    ReplyStream stream(full.get(), SizeLimit::none());
    stream << "small";
    EXPECT_TRUE(stream);
    stream.finish();
    EXPECT_FALSE(stream);
    EXPECT_EQ(stream.error(), ENOSPC);
    EXPECT_FALSE(stream.too_large());
}

}  // namespace
