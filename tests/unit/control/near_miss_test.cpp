// SPDX-License-Identifier: Apache-2.0

#include "control/near_miss.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/unit/control/message.h"

namespace {

using namespace autoresponder;
using namespace autoresponder::control;

Mail_content mail(const std::string& subject, const std::string& text) {
    Mail_content content;
    content.subject = subject;
    content.body_lines = BodyLines(text);
    return content;
}

ResponderRow looking_for(const std::string& key, KeyPlace place) {
    ResponderRow row;
    row.key = key;
    row.key_place = place;
    return row;
}

std::string in_subject(const std::string& key, const std::string& subject,
                       const std::string& text = "") {
    return near_miss(looking_for(key, KeyPlace::kSubject), mail(subject, text), *message_of("\n"));
}

std::string in_text(const std::string& key, const std::string& text,
                    const std::string& subject = "", const std::string& message = "\n") {
    return near_miss(looking_for(key, KeyPlace::kText), mail(subject, text), *message_of(message));
}

TEST(NearMiss, IsTheLetterCase) {
    EXPECT_EQ(in_subject("PRICE", "the price"), "it is there, but the letter case differs");
    EXPECT_EQ(in_text("price", "the\nPrice list"), "it is there, but the letter case differs");
}

TEST(NearMiss, IsALineBreakOrOtherBlanks) {
    EXPECT_EQ(in_text("price list", "price\nlist"),
              "it is there, but with a line break or other blanks in it");
    EXPECT_EQ(in_text("price list", "price  \r\n list"),
              "it is there, but with a line break or other blanks in it");
    EXPECT_EQ(in_subject("price list", "price\tlist"),
              "it is there, but with a line break or other blanks in it");
}

TEST(NearMiss, IsBoth) {
    EXPECT_EQ(
        in_text("price list", "PRICE\nlist"),
        "it is there, but the letter case differs and there is a line break or other blanks in it");
}

TEST(NearMiss, IsTheOtherPlace) {
    EXPECT_EQ(in_subject("price", "Hello", "the price"), "it is in the text");
    EXPECT_EQ(in_text("price", "Hello", "the price"), "it is in the subject");
}

TEST(NearMiss, IsAnotherPart) {
    EXPECT_EQ(in_text("price", "Hello", "",
                      "Content-Type: multipart/mixed; boundary=o\n\n"
                      "--o\nContent-Type: text/plain\n\nHello\n"
                      "--o\nContent-Type: text/html\n\nthe Price\n--o--\n"),
              "it is in part 2, text/html, which is not searched");
}

TEST(NearMiss, IsALineEndInTheKeyWord) {
    EXPECT_EQ(in_text("price\nlist", "price\nlist"),
              "it contains a line break, but is compared with one line at a time");
}

TEST(NearMiss, IsNoneOfThese) {
    EXPECT_EQ(in_text("price", "Hello", "Hello"), "");
    EXPECT_EQ(in_subject("price", ""), "");
}

}  // namespace
