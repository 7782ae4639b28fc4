// SPDX-License-Identifier: Apache-2.0

#include "core/message/mail_content.h"

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using testing::ElementsAre;

std::vector<std::string> lines_of(const BodyLines& lines) {
    std::vector<std::string> all;
    for (const std::string_view line : lines) {
        all.emplace_back(line);
    }
    return all;
}

std::vector<std::string> lines_of(const std::string& text) {
    return lines_of(BodyLines(text));
}

TEST(BodyLines, AnEmptyTextIsOneEmptyLine) {
    EXPECT_THAT(lines_of(""), ElementsAre(""));
    EXPECT_THAT(lines_of(BodyLines()), ElementsAre(""));
}

TEST(BodyLines, LineFeedsDivideLinesAndBelongToNone) {
    EXPECT_THAT(lines_of("a"), ElementsAre("a"));
    EXPECT_THAT(lines_of("a\nb"), ElementsAre("a", "b"));
    EXPECT_THAT(lines_of("a\r\nb"), ElementsAre("a\r", "b"));
}

TEST(BodyLines, WhatFollowsTheLastLineFeedIsALineToo) {
    EXPECT_THAT(lines_of("a\n"), ElementsAre("a", ""));
    EXPECT_THAT(lines_of("\n\n"), ElementsAre("", "", ""));
}

TEST(BodyLines, ZeroBytesAreBytesOfALine) {
    EXPECT_THAT(lines_of(std::string("a\0b\n\0", 5)),
                ElementsAre(std::string("a\0b", 3), std::string("\0", 1)));
}

TEST(BodyLines, LinesAreViewsOfTheOneText) {
    const BodyLines lines("first\nsecond");
    BodyLines::Iterator line = lines.begin();
    const char* const start = (*line).data();
    ++line;
    EXPECT_EQ((*line).data(), start + 6);
}

Mail_content to(const char* address) {
    Mail_content mail;
    set_recipient(mail, address);
    return mail;
}

TEST(Recipient, IsDividedAtItsFirstAt) {
    const Mail_content mail = to("a@b@c");
    EXPECT_EQ(mail.to, "a@b@c");
    EXPECT_EQ(mail.to_mailname, "a");
    EXPECT_EQ(mail.to_domain, "b@c");
}

TEST(Recipient, WithoutAnAtIsBothHalves) {
    EXPECT_EQ(to("info").to_mailname, "info");
    EXPECT_EQ(to("info").to_domain, "info");
    EXPECT_EQ(to("").to_domain, "");
}

TEST(Recipient, MayHaveAnEmptyHalf) {
    EXPECT_EQ(to("@b").to_mailname, "");
    EXPECT_EQ(to("@b").to_domain, "b");
    EXPECT_EQ(to("a@").to_domain, "");
}

}  // namespace
