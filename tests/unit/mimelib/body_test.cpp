// SPDX-License-Identifier: Apache-2.0

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/reading.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> parts(const std::string& text) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(to_dw_string(text), nullptr));
    std::vector<std::string> all;
    for (DwBodyPart* part = message->Body().FirstBodyPart(); part != nullptr; part = part->Next()) {
        all.push_back(to_string(part->AsString()));
    }
    return all;
}

TEST(Body, PartsAreFoundByTheMediaTypesBoundary) {
    EXPECT_THAT(parts("Content-Type: multipart/x; Boundary=\"b\"\n\n--b\none\n--b\ntwo\n--b--\n"),
                ElementsAre("one", "two"));
}

TEST(Body, TheFirstBoundaryParameterCounts) {
    EXPECT_THAT(parts("Content-Type: multipart/x; boundary=b; boundary=c\n\n--b\none\n--c\n--b--"),
                ElementsAre("one\n--c"));
}

TEST(Body, WithoutABoundaryParameterTheBoundaryTextIsEmpty) {
    EXPECT_THAT(parts("Content-Type: multipart/x\n\n--\none\n----\n"), ElementsAre("one"));
}

TEST(Body, OnlyMultipartsHaveParts) {
    EXPECT_THAT(parts("Content-Type: text/x; boundary=b\n\n--b\none\n--b--\n"), IsEmpty());
    EXPECT_THAT(parts("\n--\none\n----\n"), IsEmpty());
}

TEST(Body, AWalkGoesOnFromAnyPartThatIsKept) {
    const std::unique_ptr<DwMessage> message(
        DwMessage::NewMessage("Content-Type: multipart/x; boundary=b\n\n"
                              "--b\n\none\n--b\n\ntwo\n--b\n\nthree\n--b\n\nfour\n--b--\n",
                              nullptr));
    const DwBody& body = message->Body();
    DwBodyPart* const second = body.FirstBodyPart()->Next();
    DwBodyPart* const third = second->Next();
    EXPECT_EQ(second->Next(), third);
    DwBodyPart* const first = body.FirstBodyPart();
    EXPECT_EQ(first->Body().AsString(), DwString("one"));
    EXPECT_EQ(third->Body().AsString(), DwString("three"));
    DwBodyPart* const fourth = third->Next();
    EXPECT_EQ(third->Body().AsString(), DwString("three"));
    EXPECT_EQ(fourth->Body().AsString(), DwString("four"));
    EXPECT_EQ(fourth->Next(), nullptr);
}

TEST(Body, LookingForTheBoundaryKeepsTheParametersInUse) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(
        "Content-Type: multipart/x; c=d; e=f; g=h; boundary=b\n\n--b\none\n--b--\n", nullptr));
    DwMediaType& media_type = message->Headers().ContentType();
    const DwParameter* const first = media_type.FirstParameter();
    ASSERT_NE(message->Body().FirstBodyPart(), nullptr);
    EXPECT_EQ(media_type.FirstParameter(), first);
}

TEST(Body, AStringOutlivesThePartItIsFrom) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(
        "Content-Type: multipart/x; boundary=b\n\n--b\n\none\n--b\n--b\n--b--\n", nullptr));
    const DwBodyPart* part = message->Body().FirstBodyPart();
    const DwString one(part->Body().AsString());
    while (part != nullptr) {
        part = part->Next();
    }
    EXPECT_EQ(one, DwString("one"));
}

TEST(Body, PartsAreEntitiesThatShareTheText) {
    const DwString text(
        "Content-Type: multipart/x; boundary=b\n\n--b\nContent-Type: text/plain\n\none\n--b--\n");
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    const DwBodyPart* part = message->Body().FirstBodyPart();
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(part->Headers().ContentType().Type(), DwMime::kTypeText);
    EXPECT_EQ(part->Body().AsString(), DwString("one"));
    EXPECT_EQ(part->Body().AsString().data(), text.data() + 69);
    EXPECT_EQ(part->Next(), nullptr);
    EXPECT_EQ(message->Body().FirstBodyPart(), part);
}

}  // namespace
