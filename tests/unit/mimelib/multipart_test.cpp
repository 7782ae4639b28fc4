// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/multipart.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> parts(const std::string& body, const std::string& boundary = "b") {
    std::vector<std::string> all;
    const mimelib::BoundarySearch search(boundary);
    for (auto position = mimelib::first_part(search, body); position;) {
        const auto part = mimelib::part_at(search, body, *position);
        all.push_back(body.substr(part.slice.begin, part.slice.length));
        position = part.next_position;
    }
    return all;
}

TEST(Multipart, PartsAreBetweenBoundaryLines) {
    EXPECT_THAT(parts("--b\none\n--b\ntwo\n\n--b--\n"), ElementsAre("one", "two\n"));
    EXPECT_THAT(parts("--b\r\none\r\n--b\r\ntwo\r\n--b--\r\n"), ElementsAre("one", "two"));
    EXPECT_THAT(parts("--b\none\r\n--b\ntwo\n\r\n--b--"), ElementsAre("one", "two\n"));
}

TEST(Multipart, WhatIsAroundTheBoundariesBelongsToNoPart) {
    EXPECT_THAT(parts("before\n--b\none\n--b--\nafter\n--b\nlong after"), ElementsAre("one"));
}

TEST(Multipart, WithoutBoundaryThereAreNoParts) {
    EXPECT_THAT(parts(""), IsEmpty());
    EXPECT_THAT(parts("text\n"), IsEmpty());
    EXPECT_THAT(parts("x--b\none\n--bx\n --b\n"), IsEmpty());
}

TEST(Multipart, AMissingLastBoundaryLeavesTheRestAsAPart) {
    EXPECT_THAT(parts("--b\none\n--b\ntwo\n"), ElementsAre("one", "two\n"));
    EXPECT_THAT(parts("--b\n"), ElementsAre(""));
    EXPECT_THAT(parts("--b"), ElementsAre(""));
}

TEST(Multipart, TwoBoundaryLinesInARowEncloseAnEmptyPart) {
    EXPECT_THAT(parts("--b\n--b\none\n--b--"), ElementsAre("", "one"));
    EXPECT_THAT(parts("--b\n\n--b\n\n\n--b--"), ElementsAre("", "\n"));
}

TEST(Multipart, ABoundaryLineMayBePadded) {
    EXPECT_THAT(parts("--b \t\r\none\n--b---- \r"), ElementsAre("one"));
    EXPECT_THAT(parts("--b\none\n--b --\ntwo\n--bx\n--b-x\n--b- -\n--b--"),
                ElementsAre("one\n--b --\ntwo\n--bx\n--b-x\n--b- -"));
}

TEST(Multipart, OneDashEndsThePartsElsewhereThanAtTheStart) {
    EXPECT_THAT(parts("--b\none\n--b-\ntwo\n--b--"), ElementsAre("one"));
    EXPECT_THAT(parts("--b\n--b-\none\n--b--"), ElementsAre("", "one"));
    EXPECT_THAT(parts("--b\n--b--\none\n--b--"), ElementsAre(""));
}

TEST(Multipart, TheFirstBoundaryLineOpensAPartHoweverItLooks) {
    EXPECT_THAT(parts("--b--\none\n--b--"), ElementsAre("one"));
    EXPECT_THAT(parts("before\n--b--\none\n--b--"), ElementsAre("one"));
}

TEST(Multipart, AnOpeningLineWithOneDashTakesANextLineThatStartsWithADashAlong) {
    EXPECT_THAT(parts("before\n--b-\n-lost\none\n--b--"), ElementsAre("one"));
    EXPECT_THAT(parts("before\n--b-\n--b-\none\n--b--"), ElementsAre("one"));
    EXPECT_THAT(parts("before\n--b-\n-\n-one\n--b--"), ElementsAre("-one"));
    EXPECT_THAT(parts("before\n--b-\n-lost"), ElementsAre(""));
    EXPECT_THAT(parts("before\n--b-\n-"), ElementsAre(""));
}

TEST(Multipart, AnOpeningLineWithADashTakesNothingElseAlong) {
    EXPECT_THAT(parts("before\n--b-\none\n--b--"), ElementsAre("one"));
    EXPECT_THAT(parts("before\n--b-\n\n-one\n--b--"), ElementsAre("\n-one"));
    EXPECT_THAT(parts("before\n--b- \n-one\n--b--"), ElementsAre("-one"));
    EXPECT_THAT(parts("before\n--b-\r\n-one\n--b--"), ElementsAre("-one"));
    EXPECT_THAT(parts("before\n--b--\n-one\n--b--"), ElementsAre("-one"));
    EXPECT_THAT(parts("before\n--b---\n-one\n--b--"), ElementsAre("-one"));
    EXPECT_THAT(parts("before\n--b-\n"), ElementsAre(""));
    EXPECT_THAT(parts("before\n--b-"), ElementsAre(""));
    EXPECT_THAT(parts("--b-\n-one\n--b--"), ElementsAre("-one"));
}

TEST(Multipart, AnEmptyBoundaryTextIsABoundary) {
    EXPECT_THAT(parts("--\none\n--x\n---x\n--\ntwo\n----\n", ""),
                ElementsAre("one\n--x\n---x", "two"));
    EXPECT_THAT(parts("-- \none\n", ""), ElementsAre("one\n"));
}

TEST(Multipart, TheBoundaryTextIsTakenLiterally) {
    EXPECT_THAT(parts("--a b.*\none\n--a b.*--", "a b.*"), ElementsAre("one"));
    EXPECT_THAT(parts("--B\none\n"), IsEmpty());
    EXPECT_THAT(parts(std::string("--a\0c\none\n--a\0c--", 17), std::string("a\0c", 3)),
                ElementsAre("one"));
    EXPECT_THAT(parts("--a\n c\none\n--a\n c--", "a\n c"), ElementsAre("one"));
}

TEST(Multipart, WhatFollowsAZeroByteInTheBoundaryTextIsPassedOverUnread) {
    const std::string boundary("a\0bc", 4);
    EXPECT_THAT(parts("--a\0xy\none\r\n--a\0bc\ntwo\n--a\0\0\0--"s, boundary),
                ElementsAre("one", "two"));
    EXPECT_THAT(parts("before\n--a\0--\none\n--a\0---\ntwo\n--a\0bc"s, boundary),
                ElementsAre("one"));
    EXPECT_THAT(parts("--a\0\n\n\none\n--a\0-\n--\ntwo"s, boundary), ElementsAre("one"));
    EXPECT_THAT(parts("--\0x\none\n--\0y\ntwo"s, "\0z"s), ElementsAre("one", "two"));
    EXPECT_THAT(parts("--a\0xyz\none\n--a\0pqr\ntwo"s, "a\0b\0c"s), ElementsAre("one", "two"));
}

TEST(Multipart, TheLineAgreesUpToAndIncludingTheZeroByte) {
    const std::string boundary("a\0b", 3);
    EXPECT_THAT(parts("--axb\none\n"s, boundary), IsEmpty());
    EXPECT_THAT(parts("--x\0b\none\n"s, boundary), IsEmpty());
    EXPECT_THAT(parts("--ab\none\n"s, boundary), IsEmpty());
    EXPECT_THAT(parts("--a\0bx\none\n"s, boundary), IsEmpty());
    EXPECT_THAT(parts("--b\0\none\n"s), IsEmpty());
}

TEST(Multipart, WhatIsPassedOverMustBeThere) {
    const std::string boundary("a\0bc", 4);
    EXPECT_THAT(parts("--a\0x"s, boundary), IsEmpty());
    EXPECT_THAT(parts("before\n--a\0x"s, boundary), IsEmpty());
    EXPECT_THAT(parts("--a\0xy"s, boundary), ElementsAre(""));
    EXPECT_THAT(parts("before\n--a\0xy"s, boundary), ElementsAre(""));
    EXPECT_THAT(parts("--a\0xy\none\n--a\0x"s, boundary), ElementsAre("one\n--a\0x"s));
    EXPECT_THAT(parts("--a\0"s, "a\0"s), ElementsAre(""));
}

TEST(Multipart, ABoundaryLineMayBeginInWhatAnotherLinePassesOver) {
    EXPECT_THAT(parts("x\n--\0\n--\0a\none"s, "\0a"s), ElementsAre("one"));
    EXPECT_THAT(parts("--\0\n--\0abcd\none"s, "\0abcd"s), ElementsAre("one"));
    EXPECT_THAT(parts("x\n--\0\n--\0-   --\none"s, "\0abcd"s), ElementsAre("one"));
    EXPECT_THAT(parts("x\n--\0\n--\0--     x\n--\0abcd\none"s, "\0abcd"s), ElementsAre("one"));
}

}  // namespace
