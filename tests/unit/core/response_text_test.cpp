#include "core/response_text.h"

#include <string>

#include <gtest/gtest.h>

#include "core/responder_row.h"

namespace {

ResponseText converted(const std::string& text, const std::string& charset) {
    ResponderRow row;
    row.text = text;
    row.charset = charset;
    return response_text(row);
}

TEST(ResponseText, IsConvertedToTheRespondersCharset) {
    const ResponseText text = converted(
        "Gr\xC3\xBC\xC3\x9F"
        "e",
        "ISO-8859-1");
    EXPECT_EQ(text.bytes,
              "Gr\xFC\xDF"
              "e");
    EXPECT_EQ(text.charset, "ISO-8859-1");
}

TEST(ResponseText, HasAQuestionMarkForEachByteOfWhatTheCharsetLacks) {
    EXPECT_EQ(converted("\xE2\x82\xAC 5", "ISO-8859-1").bytes, "??? 5");
}

TEST(ResponseText, StaysUtf8WhereItCannotBeConverted) {
    const ResponseText text = converted(
        "Gr\xC3\xBC\xC3\x9F"
        "e",
        "no-such-charset");
    EXPECT_EQ(text.bytes,
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(text.charset, "UTF-8");
}

}  // namespace
