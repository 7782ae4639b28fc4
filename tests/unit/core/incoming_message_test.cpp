// SPDX-License-Identifier: Apache-2.0

#include "core/message/incoming_message.h"

#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/core/standard_input.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

std::string bytes_of(const DwString& text) {
    return {text.data(), text.length()};
}

using ReadMessage = StandardInput;
using ReceivedMessage = StandardInput;

TEST_F(ReadMessage, IsTheInputAndANewline) {
    for (const std::string& message : {""s, "\n"s, "From: a@b.org\n\nbody"s, "zero \0 byte\n"s}) {
        feed(message);
        const MessageInput input = read_message();
        EXPECT_TRUE(input.read);
        EXPECT_EQ(bytes_of(input.text), message + "\n");
    }
}

TEST_F(ReadMessage, IsWholeWhateverItsSize) {
    for (const std::size_t size : {65535U, 65536U, 65537U, 131072U, 1000000U}) {
        const std::string message(size, 'x');
        feed_file(message);
        const MessageInput input = read_message();
        EXPECT_TRUE(input.read);
        EXPECT_TRUE(bytes_of(input.text) == message + "\n") << size;
    }
}

TEST_F(ReadMessage, EndsWithANewlineWhereReadingFails) {
    open_input(directory_.path(), O_RDONLY | O_DIRECTORY);
    const MessageInput input = read_message();
    EXPECT_EQ(input.read.error(), EISDIR);
    EXPECT_EQ(bytes_of(input.text), "\n");
}

TEST_F(ReceivedMessage, IsCopiedWithItsNewline) {
    const std::string message = std::string(100'000, 'x') + "\nlast";
    feed_file(message);
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(bytes_of(receive_message(*copy)) == message + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(copied() == message + "\n");
    EXPECT_TRUE(copy->whole());
}

TEST_F(ReceivedMessage, ThatCannotBeReadIsReported) {
    open_input(directory_.path(), O_RDONLY | O_DIRECTORY);
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    testing::internal::CaptureStderr();
    EXPECT_EQ(bytes_of(receive_message(*copy)), "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "autoresponder: Failed to read the message: Is a directory (21)\n");
    EXPECT_EQ(copied(), "\n");
}

}  // namespace
