// SPDX-License-Identifier: Apache-2.0

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

namespace {

std::unique_ptr<DwMessage> message(const DwString& text) {
    return std::unique_ptr<DwMessage>(DwMessage::NewMessage(text, nullptr));
}

TEST(Entity, HeadersAndBodyAreSlicesOfTheText) {
    const DwString text("Subject:  Hello\nFrom: a@b\n\nbody\n");
    const auto parsed = message(text);
    parsed->Parse();
    EXPECT_EQ(parsed->AsString().data(), text.data());
    EXPECT_EQ(parsed->Headers().AsString().data(), text.data());
    EXPECT_EQ(parsed->Headers().AsString(), DwString("Subject:  Hello\nFrom: a@b\n"));
    EXPECT_EQ(parsed->Body().AsString().data(), text.data() + 27);
    EXPECT_EQ(parsed->Body().AsString(), DwString("body\n"));
    EXPECT_EQ(parsed->Headers().Subject().AsString().data(), text.data() + 10);
    EXPECT_EQ(parsed->Headers().From().FirstMailbox()->LocalPart().data(), text.data() + 22);
}

TEST(Entity, ACopiedBodySharesTheText) {
    const DwString text("A: b\n\nbody\n");
    const auto parsed = message(text);
    const DwString copy(parsed->Body().AsString());
    EXPECT_EQ(copy.data(), text.data() + 6);
}

TEST(Entity, TheTextOutlivesTheMessage) {
    DwString body;
    {
        const auto parsed = message(DwString("A: b\n\nbody\n"));
        body = parsed->Body().AsString();
    }
    EXPECT_EQ(body, DwString("body\n"));
}

TEST(Entity, ReadsWithoutBeingToldToParse) {
    const auto parsed = message(DwString("Subject: x\n\nbody\n"));
    EXPECT_TRUE(parsed->Headers().HasSubject());
}

TEST(Entity, ReturnsTheSameObjectsEachTime) {
    const auto parsed = message(DwString("Subject: x\n\nbody\n"));
    EXPECT_EQ(&parsed->Headers(), &parsed->Headers());
    EXPECT_EQ(&parsed->Body(), &parsed->Body());
    EXPECT_EQ(&parsed->Headers().Subject(), &parsed->Headers().Subject());
}

}  // namespace
