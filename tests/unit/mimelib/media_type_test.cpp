// SPDX-License-Identifier: Apache-2.0

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mimelib/media_type.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/heap_use.h"
#include "tests/unit/mimelib/reading.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int type(const std::string& text) {
    return DwMediaType(to_dw_string(text)).Type();
}

std::vector<std::string> parameters(const std::string& text) {
    const DwMediaType media_type(to_dw_string(text));
    std::vector<std::string> all;
    for (const DwParameter* parameter = media_type.FirstParameter(); parameter != nullptr;
         parameter = parameter->Next()) {
        all.push_back(to_string(parameter->Attribute()) + "=" + to_string(parameter->Value()));
    }
    return all;
}

TEST(MediaType, KnowsTheTypes) {
    EXPECT_EQ(type("text/plain"), DwMime::kTypeText);
    EXPECT_EQ(type("MULTIPART/Mixed"), DwMime::kTypeMultipart);
    EXPECT_EQ(type("message/rfc822"), DwMime::kTypeMessage);
    EXPECT_EQ(type("application/pdf"), DwMime::kTypeApplication);
    EXPECT_EQ(type("image/png"), DwMime::kTypeImage);
    EXPECT_EQ(type("audio/mpeg"), DwMime::kTypeAudio);
    EXPECT_EQ(type("video/mpeg"), DwMime::kTypeVideo);
    EXPECT_EQ(type("model/x"), DwMime::kTypeModel);
    EXPECT_EQ(type("texts/plain"), DwMime::kTypeUnknown);
}

TEST(MediaType, TheTypeIsTheFirstAtom) {
    EXPECT_EQ(type("text"), DwMime::kTypeText);
    EXPECT_EQ(type("=;(c)\"q\"text/plain"), DwMime::kTypeText);
    EXPECT_EQ(type("/plain"), DwMime::kTypeUnknown);
    EXPECT_EQ(type("\"text\"/plain"), DwMime::kTypeUnknown);
}

TEST(MediaType, AnEmptyFieldHasNoType) {
    EXPECT_EQ(type(""), DwMime::kTypeNull);
}

TEST(MediaType, ParametersFollowSemicolons) {
    EXPECT_THAT(parameters("text/plain; a=b;c = \"d e\" junk ;;f=g"),
                ElementsAre("a=b", "c=d e", "f=g"));
    EXPECT_THAT(parameters("text/plain a=b"), IsEmpty());
}

TEST(MediaType, WithoutASlashEverythingIsSkipped) {
    EXPECT_THAT(parameters("text; a=b"), IsEmpty());
    EXPECT_THAT(parameters("text; a=b/c; d=e"), ElementsAre("d=e"));
    EXPECT_THAT(parameters("text/; a=b; c=d"), ElementsAre("c=d"));
}

TEST(MediaType, QuotesAreRemovedAndBackslashesKept) {
    EXPECT_THAT(parameters(R"(a/b; c="d\"e"; f="")"), ElementsAre(R"(c=d\"e)", "f="));
}

TEST(MediaType, CommentsAreSkipped) {
    EXPECT_THAT(parameters("(c)a(d)/(e)b(f);(g)h(i)=(j)k(l)"), ElementsAre("h=k"));
}

TEST(MediaType, AParameterWithoutAttributeOrValueIsLeftOut) {
    EXPECT_THAT(parameters("a/b; c="), IsEmpty());
    EXPECT_THAT(parameters("a/b; c"), IsEmpty());
    EXPECT_THAT(parameters("a/b; c=\"d"), IsEmpty());
    EXPECT_THAT(parameters("a/b; =\"d\""), IsEmpty());
}

TEST(MediaType, AttributeAndValueAreLookedForAcrossSemicolons) {
    EXPECT_THAT(parameters("a/b; =x; c=d"), ElementsAre("x=d"));
    EXPECT_THAT(parameters("a/b; c=; d=e"), ElementsAre("c=d"));
}

TEST(MediaType, ASlashAfterTheValueKeepsTheParameterOpen) {
    EXPECT_THAT(parameters("a/b; c=d/e/f; g=h"), ElementsAre("c=d", "g=h"));
    EXPECT_THAT(parameters("a/b; c=d/; e=f; g=h"), ElementsAre("c=d", "g=h"));
    EXPECT_THAT(parameters("a/b; c=d/\"e\"; g=h"), ElementsAre("c=d", "g=h"));
    EXPECT_THAT(parameters("a/b; c=d\n / (x) ; [y] e=f; g=h"), ElementsAre("c=d", "g=h"));
    EXPECT_THAT(parameters("a/b; c=\"d\"/; e=f; g=h"), ElementsAre("c=d", "g=h"));
    EXPECT_THAT(parameters("a/b; c=d/\"e\" / f; g=h"), ElementsAre("c=d", "g=h"));
}

TEST(MediaType, OnlyTheTokenDirectlyAfterTheValueKeepsItOpen) {
    EXPECT_THAT(parameters("a/b; c=d (x)/; e=f"), ElementsAre("c=d", "e=f"));
    EXPECT_THAT(parameters("a/b; c=d e/; f=g"), ElementsAre("c=d", "f=g"));
    EXPECT_THAT(parameters("a/b; c=d \"e/; f=g"), ElementsAre("c=d"));
}

TEST(MediaType, AParameterThatIsNeverEndedIsLeftOut) {
    EXPECT_THAT(parameters("a/b; c=d; e=f/"), ElementsAre("c=d"));
    EXPECT_THAT(parameters("a/b; c=d /"), IsEmpty());
    EXPECT_THAT(parameters("a/b; c=\"d\"/(e)"), IsEmpty());
    EXPECT_THAT(parameters("a/b; c=d/e/"), IsEmpty());
    EXPECT_THAT(parameters("a/b; c=d/;[e]"), IsEmpty());
    EXPECT_THAT(parameters("a/b; c=d/\"e; f=g"), IsEmpty());
}

TEST(MediaType, ABoundaryLosesSingleQuotes) {
    EXPECT_THAT(parameters("a/b; boundary='x'; BOUNDARY=\"'y z'\""),
                ElementsAre("boundary=x", "BOUNDARY=y z"));
    EXPECT_THAT(parameters("a/b; boundary=''; boundary='x; charset='y'"),
                ElementsAre("boundary=''", "boundary='x", "charset='y'"));
    EXPECT_THAT(parameters("a/b; boundary='xy; boundary=xy'"),
                ElementsAre("boundary='xy", "boundary=xy'"));
}

TEST(MediaType, AWalkGoesOnFromAnyParameterThatIsKept) {
    const DwMediaType media_type(DwString("a/b; c=d; e=\"f\"; g=h/i; j=k"));
    DwParameter* const second = media_type.FirstParameter()->Next();
    DwParameter* const third = second->Next();
    EXPECT_EQ(second->Next(), third);
    EXPECT_EQ(media_type.Type(), DwMime::kTypeUnknown);
    DwParameter* const first = media_type.FirstParameter();
    EXPECT_EQ(first->Value(), DwString("d"));
    EXPECT_EQ(third->Value(), DwString("h"));
    DwParameter* const fourth = third->Next();
    EXPECT_EQ(third->Value(), DwString("h"));
    EXPECT_EQ(fourth->Value(), DwString("k"));
    EXPECT_EQ(fourth->Next(), nullptr);
    const HeapUse heap;
    ASSERT_NE(media_type.FirstParameter(), nullptr);
    EXPECT_GT(heap.requests(), 0U) << "the first had not made room for the fourth";
}

TEST(MediaType, AParametersTextReachesFromTheSemicolonToItsEnd) {
    const DwMediaType media_type(DwString("a/b; c=d; e=f/g ; h=\"i\" (j)"));
    DwParameter* parameter = media_type.FirstParameter();
    EXPECT_EQ(parameter->AsString(), DwString(" c=d"));
    parameter = parameter->Next();
    EXPECT_EQ(parameter->AsString(), DwString(" e=f/g"));
    EXPECT_EQ(parameter->Next()->AsString(), DwString(" h=\"i\""));
}

TEST(MediaType, AttributesAndValuesAreSlices) {
    const DwString text("text/plain; charset=\"utf-8\"; boundary='x'");
    const DwMediaType media_type(text);
    const DwParameter* charset = media_type.FirstParameter();
    ASSERT_NE(charset, nullptr);
    EXPECT_EQ(charset->Attribute().data(), text.data() + 12);
    EXPECT_EQ(charset->Value().data(), text.data() + 21);
    ASSERT_NE(charset->Next(), nullptr);
    EXPECT_EQ(charset->Next()->Value().data(), text.data() + 39);
}

}  // namespace
