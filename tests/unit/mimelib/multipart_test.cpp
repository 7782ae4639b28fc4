#include "mimelib/src/multipart.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

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

}  // namespace
