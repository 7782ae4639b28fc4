// SPDX-License-Identifier: Apache-2.0

#include "core/panel/responder.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/message/mail_content.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

Mail_content mail() {
    Mail_content mail;
    mail.subject = "Price list, please";
    mail.body_lines = BodyLines("Hello,\nsend me the catalogue\nzero \0 byte\n"s);
    return mail;
}

ResponderRow responder(KeyPlace place, std::string key, bool on = true) {
    ResponderRow row;
    row.key_place = place;
    row.key = std::move(key);
    row.on = on;
    return row;
}

bool occurs(KeyPlace place, const std::string& key, const Mail_content& where = mail()) {
    return key_occurs(responder(place, key), where);
}

std::string refusal(const ResponderRow& row) {
    return why_not_applying(row, mail()).value_or("none");
}

TEST(PanelNumber, IsReadUpToItsFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(PanelNumber("10").value, 10);
    EXPECT_EQ(PanelNumber("-5").value, -5);
    EXPECT_EQ(PanelNumber(" 2 a day").value, 2);
    EXPECT_EQ(PanelNumber("many").value, 0);
    EXPECT_EQ(PanelNumber("").value, 0);
    EXPECT_EQ(PanelNumber().value, 0);
}

TEST(PanelNumber, KeepsItsText) {
    EXPECT_EQ(PanelNumber(" 2 a day").text, " 2 a day");
    EXPECT_EQ(PanelNumber().text, "0");
}

TEST(ResponderRow, ThatIsOffDoesNotApplyWhateverItsKeyWord) {
    EXPECT_EQ(refusal(responder(KeyPlace::kNoKey, "", false)), "it is switched off");
    EXPECT_EQ(refusal(responder(KeyPlace::kSubject, "list", false)), "it is switched off");
    EXPECT_EQ(refusal(responder(KeyPlace::kSubject, "catalogue", false)), "it is switched off");
    EXPECT_EQ(refusal(responder(KeyPlace::kNoKey, "", true)), "none");
}

TEST(ResponderRow, DoesNotApplyWithoutItsKeyWord) {
    EXPECT_EQ(refusal(responder(KeyPlace::kSubject, "catalogue")),
              "its key word is not in the subject");
    EXPECT_EQ(refusal(responder(KeyPlace::kText, "list")), "its key word is not in the text");
    EXPECT_EQ(refusal(responder(KeyPlace::kSubject, "list")), "none");
    EXPECT_EQ(refusal(responder(KeyPlace::kText, "catalogue")), "none");
}

TEST(ResponderRow, IsOnAndAnswersEverythingByDefault) {
    EXPECT_EQ(refusal({}), "none");
}

TEST(KeyWord, IsSearchedInTheSubjectByteForByte) {
    EXPECT_TRUE(occurs(KeyPlace::kSubject, "list"));
    EXPECT_FALSE(occurs(KeyPlace::kSubject, "LIST"));
    EXPECT_FALSE(occurs(KeyPlace::kSubject, "catalogue"));
}

TEST(KeyWord, IsSearchedInEveryLineOfTheText) {
    EXPECT_TRUE(occurs(KeyPlace::kText, "catalogue"));
    EXPECT_FALSE(occurs(KeyPlace::kText, "list"));
    EXPECT_FALSE(occurs(KeyPlace::kText, "Hello,\nsend"));
}

TEST(KeyWord, IsFoundInTheTextAfterAZeroByte) {
    EXPECT_TRUE(occurs(KeyPlace::kText, "byte"));
    EXPECT_TRUE(occurs(KeyPlace::kText, "\0 b"s));
}

TEST(KeyWord, ThatIsEmptyOccursEverywhere) {
    EXPECT_TRUE(occurs(KeyPlace::kSubject, ""));
    EXPECT_TRUE(occurs(KeyPlace::kText, ""));
    const Mail_content empty;
    EXPECT_TRUE(occurs(KeyPlace::kSubject, "", empty));
    EXPECT_TRUE(occurs(KeyPlace::kText, "", empty));
}

TEST(KeyWord, ThatIsLookedForNowhereIsNoCondition) {
    EXPECT_TRUE(occurs(KeyPlace::kNoKey, "nowhere"));
}

TEST(HeaderValues, StayAsTheyAreWithoutControlCharacters) {
    ResponderRow row;
    row.header.reply_to = "\"The desk\" <desk@b\xC3\xBC.example>";
    row.header.charset = "KOI8-R";
    row.header.content_type = "text/html";
    testing::internal::CaptureStderr();
    const HeaderValues values = safe_header_values(row);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(values.reply_to, "\"The desk\" <desk@b\xC3\xBC.example>");
    EXPECT_EQ(values.charset, "KOI8-R");
    EXPECT_EQ(values.content_type, "text/html");
}

TEST(HeaderValues, EachWithAControlCharacterIsReplacedAndNamed) {
    for (const std::string& control : {"\n"s, "\r"s, "\t"s, "\0"s, "\x1F"s, "\x7F"s}) {
        ResponderRow row;
        row.id = "12";
        row.header.reply_to = "a" + control;
        row.header.charset = control + "b";
        row.header.content_type = "c" + control + "d";
        testing::internal::CaptureStderr();
        const HeaderValues values = safe_header_values(row);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "autoresponder: Responder 12: reply_to holds a control character, left out\n"
                  "autoresponder: Responder 12: charset holds a control character, UTF-8 used\n"
                  "autoresponder: Responder 12: content_type holds a control character, text/plain"
                  " used\n");
        EXPECT_EQ(values.reply_to, "");
        EXPECT_EQ(values.charset, "UTF-8");
        EXPECT_EQ(values.content_type, "text/plain");
    }
}

TEST(HeaderValues, ACharsetWithAQuoteOrBackslashIsReplacedAndNamed) {
    for (const char* charset : {"\"", "\\", "KOI8-R\"", "KOI8-R\\", "\\\"UTF-8"}) {
        ResponderRow row;
        row.id = "12";
        row.header.reply_to = "\"The desk\" <desk@example.com>";
        row.header.charset = charset;
        row.header.content_type = "text/plain; x=\"\\y\"";
        testing::internal::CaptureStderr();
        const HeaderValues values = safe_header_values(row);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "autoresponder: Responder 12: charset holds a quote or backslash, UTF-8 used\n");
        EXPECT_EQ(values.reply_to, "\"The desk\" <desk@example.com>");
        EXPECT_EQ(values.charset, "UTF-8");
        EXPECT_EQ(values.content_type, "text/plain; x=\"\\y\"");
    }
}

TEST(HeaderValues, ACharsetWithAControlCharacterAndAQuoteIsNamedForTheFormer) {
    ResponderRow row;
    row.id = "12";
    row.header.charset = "\"\n\\";
    testing::internal::CaptureStderr();
    EXPECT_EQ(safe_header_values(row).charset, "UTF-8");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "autoresponder: Responder 12: charset holds a control character, UTF-8 used\n");
}

}  // namespace
