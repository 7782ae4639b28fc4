// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

namespace {

TEST(Headers, TellWhichFieldsAreThere) {
    DwHeaders headers(DwString("From: a@b\nContent-Type:\n"));
    EXPECT_FALSE(headers.HasReplyTo());
    EXPECT_TRUE(headers.HasFrom());
    EXPECT_FALSE(headers.HasSubject());
    EXPECT_FALSE(headers.HasDate());
    EXPECT_TRUE(headers.HasContentType());
    EXPECT_FALSE(headers.HasContentTransferEncoding());
}

TEST(Headers, TheBodyOfAFieldThatIsNotThereIsEmpty) {
    DwHeaders headers(DwString("X: y\n"));
    EXPECT_TRUE(headers.Subject().AsString().empty());
    EXPECT_TRUE(headers.Date().AsString().empty());
    EXPECT_EQ(headers.ReplyTo().FirstAddress(), nullptr);
    EXPECT_EQ(headers.From().FirstMailbox(), nullptr);
    EXPECT_EQ(headers.ContentType().Type(), DwMime::kTypeNull);
    EXPECT_EQ(headers.ContentTransferEncoding().AsEnum(), DwMime::kCteNull);
    EXPECT_FALSE(headers.HasSubject());
    EXPECT_FALSE(headers.HasContentType());
}

TEST(Headers, ABodyPartThatEndsInAFieldNameHasThatField) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(
        "Content-Type: multipart/x; boundary=b\n\n--b\nX: y\nContent-Type\n--b--\n", nullptr));
    const DwBodyPart* const part = message->Body().FirstBodyPart();
    ASSERT_NE(part, nullptr);
    EXPECT_TRUE(part->Headers().HasContentType());
    EXPECT_EQ(part->Headers().ContentType().Type(), DwMime::kTypeNull);
    EXPECT_TRUE(part->Body().AsString().empty());
}

TEST(Headers, AFieldsTextIsItsBodyAsWritten) {
    DwHeaders headers(DwString("Subject: a\n b  \nDate:\tMon, 1 Jan 2024 (x)\n"));
    EXPECT_EQ(headers.Subject().AsString(), DwString("a\n b"));
    EXPECT_EQ(headers.Date().AsString(), DwString("Mon, 1 Jan 2024 (x)"));
}

}  // namespace
