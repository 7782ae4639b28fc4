// SPDX-License-Identifier: Apache-2.0

#include "core/message/header_fields.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using namespace std::string_literals;
using namespace std::string_view_literals;

std::vector<std::pair<std::string, std::string>> fields(std::string_view header) {
    std::vector<std::pair<std::string, std::string>> all;
    for (const HeaderField& field : HeaderFields(header)) {
        all.emplace_back(field.name, field.body);
    }
    return all;
}

TEST(HeaderFields, AreReadInTheirOrderAsOftenAsTheyStandThere) {
    EXPECT_THAT(fields("To: a\nCc: b\nTo: c\n"),
                ElementsAre(Pair("To", "a"), Pair("Cc", "b"), Pair("To", "c")));
}

TEST(HeaderFields, WhiteSpaceAroundNameAndBodyBelongsToNeither) {
    EXPECT_THAT(fields("To \t: \t a b \t\n"), ElementsAre(Pair("To", "a b")));
    EXPECT_THAT(fields("To:\n a\n \n"), ElementsAre(Pair("To", "a")));
    EXPECT_THAT(fields("To:a\r\nCc:\r\n b\r\n"), ElementsAre(Pair("To", "a"), Pair("Cc", "b")));
}

TEST(HeaderFields, AFoldedBodyKeepsItsLineEnds) {
    EXPECT_THAT(fields("To: a,\n\tb\n c\nCc: d\n"),
                ElementsAre(Pair("To", "a,\n\tb\n c"), Pair("Cc", "d")));
}

TEST(HeaderFields, AnEmptyBodyIsABody) {
    EXPECT_THAT(fields("To:\nCc: \n"), ElementsAre(Pair("To", ""), Pair("Cc", "")));
}

TEST(HeaderFields, TheLastOneNeedsNoLineEnd) {
    EXPECT_THAT(fields("To: a\nCc: b"), ElementsAre(Pair("To", "a"), Pair("Cc", "b")));
    EXPECT_THAT(fields("To: a\nCc:"), ElementsAre(Pair("To", "a"), Pair("Cc", "")));
}

TEST(HeaderFields, LinesWithoutAColonAreNone) {
    EXPECT_THAT(fields(""), IsEmpty());
    EXPECT_THAT(fields("\n"), IsEmpty());
    EXPECT_THAT(fields("no field\n\nTo: a\nnor this"), ElementsAre(Pair("To", "a")));
}

TEST(HeaderFields, ALineThatContinuesNothingHasNoNameThatCouldBeMeant) {
    EXPECT_THAT(fields(" List-Id: x\nTo: a\n"),
                ElementsAre(Pair(" List-Id", "x"), Pair("To", "a")));
    EXPECT_THAT(fields("List-\n Id: x\n"), ElementsAre(Pair("List-\n Id", "x")));
}

TEST(HeaderFields, AnyBytesAreKept) {
    EXPECT_THAT(fields("T\xC3\xB6\0: a\xFF\0b\n"sv),
                ElementsAre(Pair("T\xC3\xB6\0"s, "a\xFF\0b"s)));
}

TEST(HeaderFields, AreSlicesOfTheText) {
    const std::string header = "To: a\n";
    const HeaderField field = *HeaderFields(header).begin();
    EXPECT_EQ(field.name.data(), header.data());
    EXPECT_EQ(field.body.data(), header.data() + 4);
}

TEST(HeaderFields, TheFirstOfANameIsFoundInAnyLetterCase) {
    const HeaderFields header("X-To: z\nTO: a\nTo: b\nEmpty:\n");
    EXPECT_EQ(header.first("to"), "a");
    EXPECT_EQ(header.first("Empty"), "");
    EXPECT_EQ(header.first("Cc"), std::nullopt);
}

}  // namespace
