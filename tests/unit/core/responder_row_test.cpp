#include "core/responder_row.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/mail_content.h"

namespace {

using namespace std::string_literals;

Mail_content mail() {
    Mail_content mail;
    mail.subject = "Price list, please";
    mail.body_lines = BodyLines("Hello,\nsend me the catalogue\nzero \0 byte\n"s);
    return mail;
}

ResponderRow responder(std::string key_where, std::string keystr, std::string resp_on = "true") {
    ResponderRow row;
    row.key_where = std::move(key_where);
    row.keystr = std::move(keystr);
    row.resp_on = std::move(resp_on);
    return row;
}

TEST(ResponderRow, IsOffOnlyWhenExactlyFalse) {
    EXPECT_FALSE(applies_to(responder("no", "", "false"), mail()));
    EXPECT_TRUE(applies_to(responder("no", "", "False"), mail()));
    EXPECT_TRUE(applies_to(responder("no", "", ""), mail()));
    EXPECT_TRUE(applies_to(responder("no", "", "true"), mail()));
}

TEST(ResponderRow, SubjectKeyIsSearchedInTheSubjectByteForByte) {
    EXPECT_TRUE(applies_to(responder("subj", "list"), mail()));
    EXPECT_FALSE(applies_to(responder("subj", "LIST"), mail()));
    EXPECT_FALSE(applies_to(responder("subj", "catalogue"), mail()));
}

TEST(ResponderRow, BodyKeyIsSearchedInEveryLine) {
    EXPECT_TRUE(applies_to(responder("body", "catalogue"), mail()));
    EXPECT_FALSE(applies_to(responder("body", "list"), mail()));
    EXPECT_FALSE(applies_to(responder("body", "Hello,\nsend"), mail()));
}

TEST(ResponderRow, BodyKeyIsFoundAfterAZeroByte) {
    EXPECT_TRUE(applies_to(responder("body", "byte"), mail()));
    EXPECT_TRUE(applies_to(responder("body", "\0 b"s), mail()));
}

TEST(ResponderRow, EmptyKeyOccursEverywhere) {
    EXPECT_TRUE(applies_to(responder("subj", ""), mail()));
    EXPECT_TRUE(applies_to(responder("body", ""), mail()));
    const Mail_content empty;
    EXPECT_TRUE(applies_to(responder("subj", ""), empty));
    EXPECT_TRUE(applies_to(responder("body", ""), empty));
}

TEST(ResponderRow, AnyOtherPlaceIsNoCondition) {
    EXPECT_TRUE(applies_to(responder("no", "nowhere"), mail()));
    EXPECT_TRUE(applies_to(responder("Subj", "nowhere"), mail()));
    EXPECT_TRUE(applies_to(responder("", "nowhere"), mail()));
}

TEST(HeaderValues, StayAsTheyAreWithoutControlCharacters) {
    ResponderRow row;
    row.reply_to = "\"The desk\" <desk@b\xC3\xBC.example>";
    row.charset = "KOI8-R";
    row.content_type = "text/html";
    testing::internal::CaptureStderr();
    make_header_values_safe(row);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(row.reply_to, "\"The desk\" <desk@b\xC3\xBC.example>");
    EXPECT_EQ(row.charset, "KOI8-R");
    EXPECT_EQ(row.content_type, "text/html");
}

TEST(HeaderValues, EachWithAControlCharacterIsReplacedAndNamed) {
    for (const std::string& control : {"\n"s, "\r"s, "\t"s, "\0"s, "\x1F"s, "\x7F"s}) {
        ResponderRow row;
        row.id = "12";
        row.reply_to = "a" + control;
        row.charset = control + "b";
        row.content_type = "c" + control + "d";
        testing::internal::CaptureStderr();
        make_header_values_safe(row);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "autoresponder: Responder 12: reply_to holds a control character, left out\n"
                  "autoresponder: Responder 12: charset holds a control character, UTF-8 used\n"
                  "autoresponder: Responder 12: content_type holds a control character, text/plain"
                  " used\n");
        EXPECT_EQ(row.reply_to, "");
        EXPECT_EQ(row.charset, "UTF-8");
        EXPECT_EQ(row.content_type, "text/plain");
    }
}

}  // namespace
