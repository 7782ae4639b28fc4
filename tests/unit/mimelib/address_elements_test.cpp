// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/address_elements.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using mimelib::Groups;
using testing::ElementsAre;

// Each element's text; that of a group in parentheses, with "!" before it if it has no name.
std::vector<std::string> elements(const std::string& text, Groups groups) {
    std::vector<std::string> all;
    mimelib::AddressElements reader(text, groups);
    while (const auto element = reader.next()) {
        const std::string piece = text.substr(element->slice.begin, element->slice.length);
        all.push_back(!element->is_group  ? piece
                      : element->is_named ? "(" + piece + ")"
                                          : "!(" + piece + ")");
    }
    return all;
}

TEST(AddressElements, CommasSeparate) {
    EXPECT_THAT(elements("a, b,,c", Groups::kRecognised), ElementsAre("a", " b", "", "c"));
    EXPECT_THAT(elements("", Groups::kRecognised), ElementsAre(""));
}

TEST(AddressElements, CommasInTokensDoNot) {
    EXPECT_THAT(elements(R"("a,b" (c,d) [e,f], g)", Groups::kRecognised),
                ElementsAre(R"("a,b" (c,d) [e,f])", " g"));
}

TEST(AddressElements, CommasInAnglesDoNot) {
    EXPECT_THAT(elements("<@r,@s:a@b>,c", Groups::kRecognised), ElementsAre("<@r,@s:a@b>", "c"));
    EXPECT_THAT(elements("<a,b", Groups::kRecognised), ElementsAre("<a,b"));
}

TEST(AddressElements, AColonMakesAGroup) {
    EXPECT_THAT(elements("g: a, b;, c", Groups::kRecognised), ElementsAre("(g: a, b;)", " c"));
    EXPECT_THAT(elements("\"g h\":;", Groups::kRecognised), ElementsAre("(\"g h\":;)"));
    EXPECT_THAT(elements("g: a, b, c;, d", Groups::kRecognised),
                ElementsAre("(g: a, b, c;)", " d"));
    EXPECT_THAT(elements("g: a, b", Groups::kRecognised), ElementsAre("(g: a, b)"));
    EXPECT_THAT(elements("g (x) .:a;", Groups::kRecognised), ElementsAre("(g (x) .:a;)"));
}

TEST(AddressElements, AGroupWithoutNameIsToldApart) {
    EXPECT_THAT(elements(":a@b;, (x):c;", Groups::kRecognised),
                ElementsAre("!(:a@b;)", "!( (x):c;)"));
    EXPECT_THAT(elements(":a:b;", Groups::kRecognised), ElementsAre("!(:a:b;)"));
    EXPECT_THAT(elements(":x; Name: y@z;, a", Groups::kRecognised),
                ElementsAre("!(:x; Name: y@z;)", " a"));
}

TEST(AddressElements, AngleBracketsMeanNothingInAGroup) {
    EXPECT_THAT(elements("g: <a;, b", Groups::kRecognised), ElementsAre("(g: <a;)", " b"));
}

TEST(AddressElements, AColonInAnglesMakesNoGroup) {
    EXPECT_THAT(elements("<a:b>, c", Groups::kRecognised), ElementsAre("<a:b>", " c"));
}

TEST(AddressElements, AGroupsNameEndsAtTheFirstColonEvenInAngles) {
    EXPECT_THAT(elements("<:x> y: a;, b", Groups::kRecognised), ElementsAre("!(<:x> y: a;)", " b"));
    EXPECT_THAT(elements("<@:x>:a;", Groups::kRecognised), ElementsAre("!(<@:x>:a;)"));
    EXPECT_THAT(elements("x <:> y: a;", Groups::kRecognised), ElementsAre("(x <:> y: a;)"));
    EXPECT_THAT(elements("<x:y>: a;", Groups::kRecognised), ElementsAre("(<x:y>: a;)"));
    EXPECT_THAT(elements("<\"\":>:;", Groups::kRecognised), ElementsAre("(<\"\":>:;)"));
}

TEST(AddressElements, AColonInATokenEndsNoName) {
    EXPECT_THAT(elements("(:) x: a;", Groups::kRecognised), ElementsAre("((:) x: a;)"));
    EXPECT_THAT(elements("<[:]x>: a;", Groups::kRecognised), ElementsAre("(<[:]x>: a;)"));
}

TEST(AddressElements, MailboxListsHaveNoGroups) {
    EXPECT_THAT(elements("g: a, b;", Groups::kIgnored), ElementsAre("g: a", " b;"));
}

}  // namespace
