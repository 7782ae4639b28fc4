// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_text.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using namespace std::string_literals;

std::unique_ptr<DwMessage> parsed(const std::string& text) {
    DwInitialize();
    std::unique_ptr<DwMessage> message(
        DwMessage::NewMessage(DwString(text.data(), text.size()), nullptr));
    message->Parse();
    return message;
}

std::string charset(const std::string& content_type) {
    const auto message = parsed("Content-Type: " + content_type + "\n\n");
    const DwString charset = GetCharset(*message);
    return {charset.data(), charset.length()};
}

std::string decoded(const std::string& encoding, const std::string& body) {
    const auto message = parsed("Content-Transfer-Encoding: " + encoding + "\n\n" + body);
    DwString out;
    DecodeBody(*message, out);
    return {out.data(), out.length()};
}

TEST(Charset, DefaultsToAscii) {
    EXPECT_EQ(charset("text/plain"), "US-ASCII");
    EXPECT_EQ(charset("text/plain; format=flowed"), "US-ASCII");
    const auto message = parsed("Subject: x\n\n");
    EXPECT_STREQ(GetCharset(*message).c_str(), "US-ASCII");
}

TEST(Charset, AttributeMatchesWithoutCaseAndValueIsKept) {
    EXPECT_EQ(charset("text/plain; CHARSET=koi8-r"), "koi8-r");
    EXPECT_EQ(charset("text/plain; ChArSeT=\"Windows-1251\""), "Windows-1251");
}

TEST(Charset, FirstOfSeveralCounts) {
    EXPECT_EQ(charset("text/plain; x=y; charset=utf-8; charset=koi8-r"), "utf-8");
}

TEST(Charset, OtherAttributesThatOnlyLookLikeItDoNotCount) {
    EXPECT_EQ(charset("text/plain; charsets=utf-8; xcharset=koi8-r"), "US-ASCII");
}

TEST(DecodedBody, Base64AndQuotedPrintableAreUndone) {
    EXPECT_EQ(decoded("base64", "QUJD"), "ABC");
    EXPECT_EQ(decoded("Quoted-Printable", "caf=E9\n"), "caf\xE9\n");
}

TEST(DecodedBody, OtherMechanismsLeaveTheBodyAlone) {
    for (const char* encoding : {"7bit", "8bit", "binary", "x-uuencode", ""}) {
        EXPECT_EQ(decoded(encoding, "a=41\n"), "a=41\n") << encoding;
    }
    const auto message = parsed("Subject: x\n\na=41\n");
    DwString out;
    DecodeBody(*message, out);
    EXPECT_STREQ(out.c_str(), "a=41\n");
}

TEST(DecodedBody, ZeroBytesSurvive) {
    EXPECT_EQ(decoded("8bit", "a\0b\n"s), "a\0b\n"s);
    EXPECT_EQ(decoded("base64", "AEEA"), "\0A\0"s);
}

}  // namespace
