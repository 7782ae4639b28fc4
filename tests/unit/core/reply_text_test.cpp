// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply_text.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "encoding/iconv_recode.h"

namespace {

using namespace autoresponder;
using namespace std::string_literals;

TEST(ReplyText, IsConvertedToTheRespondersCharset) {
    const ReplyText text = reply_text(
        "Gr\xC3\xBC\xC3\x9F"
        "e",
        "ISO-8859-1");
    EXPECT_EQ(text.bytes,
              "Gr\xFC\xDF"
              "e");
    EXPECT_EQ(text.charset, "ISO-8859-1");
}

TEST(ReplyText, HasAQuestionMarkForEachByteOfWhatTheCharsetLacks) {
    EXPECT_EQ(reply_text("\xE2\x82\xAC 5", "ISO-8859-1").bytes, "??? 5");
}

TEST(ReplyText, StaysUtf8WhereItCannotBeConverted) {
    const ReplyText text = reply_text(
        "Gr\xC3\xBC\xC3\x9F"
        "e",
        "no-such-charset");
    EXPECT_EQ(text.bytes,
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(text.charset, "UTF-8");
}

TEST(ReplyText, InUtf8IsWhatTheCharsetConverterMakesOfIt) {
    for (const std::string& text :
         {""s, "plain\n"s, "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"s, "zero \0 byte"s,
          "\xEF\xBB\xBF mark"s, "\xC2\x85 control"s, "bad \xFF"s, "cut \xC3"s, "\xC0\x80"s,
          "\xED\xA0\x80"s, "\xEF\xBF\xBE"s, "\xF4\x90\x80\x80"s, "\xFD\xBF\xBF\xBF\xBF\xBF"s}) {
        for (const std::string charset : {"UTF-8", "utf-8", "UTF8", "UTF-8//TRANSLIT"}) {
            std::string expected = text;
            std::string expected_charset = "UTF-8";
            try {
                expected = tolva::iconvRecode(text, "UTF-8", charset, true);
                expected_charset = charset;
            } catch (const std::runtime_error&) {
                // as it is
            }
            const ReplyText converted = reply_text(text, charset);
            EXPECT_EQ(converted.bytes, expected) << text << charset;
            EXPECT_EQ(converted.charset, expected_charset) << text << charset;
        }
    }
}

}  // namespace
