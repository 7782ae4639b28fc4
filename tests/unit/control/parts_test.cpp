// SPDX-License-Identifier: Apache-2.0

#include "control/parts.h"

#include <cstddef>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/control/message.h"

namespace {

using namespace autoresponder::control;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> visited(const std::string& text, std::size_t most = 2000) {
    std::vector<std::string> parts;
    visit_text_parts(*message_of(text), [&](const DwEntity& part, const std::string& number) {
        parts.push_back(number + " " + text_in_utf8(part));
        return parts.size() < most;
    });
    return parts;
}

std::string nested(int depth) {
    std::string text = "Content-Type: text/plain\n\ndeep";
    for (int i = depth; i > 0; --i) {
        const std::string delimiter = "--b" + std::to_string(i);
        std::string outer = "Content-Type: multipart/mixed; boundary=" + delimiter.substr(2);
        outer.append("\n\n").append(delimiter).append("\n").append(text);
        text = outer.append("\n").append(delimiter).append("--\n");
    }
    return text;
}

TEST(TypeOf, IsTheFieldUpToItsFirstParameter) {
    EXPECT_EQ(type_of(*message_of("Content-Type: Text/HTML ; charset=utf-8\n\n")), "Text/HTML");
    EXPECT_EQ(type_of(*message_of("Content-Type: text\n\n")), "text");
    EXPECT_EQ(type_of(*message_of("Subject: x\n\n")), "");
}

TEST(TextInUtf8, IsDecodedAndConverted) {
    EXPECT_EQ(text_in_utf8(*message_of("Content-Type: text/plain; charset=iso-8859-1\n"
                                       "Content-Transfer-Encoding: base64\n\ny2Fm6Q==\n")),
              "\xC3\x8B"
              "af\xC3\xA9");
    EXPECT_EQ(text_in_utf8(*message_of("Content-Type: text/plain; charset=x-none\n\n\xE9")),
              "\xE9");
}

TEST(TextParts, AreVisitedAtAllDepthsInOrder) {
    EXPECT_THAT(visited("Content-Type: multipart/mixed; boundary=o\n\n"
                        "--o\nContent-Type: text/plain\n\none\n"
                        "--o\nContent-Type: multipart/alternative; boundary=i\n\n"
                        "--i\nContent-Type: image/png\n\nno\n"
                        "--i\nContent-Type: text/html\n\ntwo\n--i--\n"
                        "--o\n\nno type\n"
                        "--o\nContent-Type: text/plain\n\nthree\n--o--\n"),
                ElementsAre("1 one", "2.2 two", "4 three"));
}

TEST(TextParts, OfAMessageThatIsNoMultipartAreNone) {
    EXPECT_THAT(visited("Content-Type: text/plain\n\none\n"), IsEmpty());
}

TEST(TextParts, AreVisitedUntilTheVisitorHasEnough) {
    EXPECT_THAT(visited("Content-Type: multipart/mixed; boundary=o\n\n"
                        "--o\nContent-Type: text/plain\n\none\n"
                        "--o\nContent-Type: text/plain\n\ntwo\n--o--\n",
                        1),
                ElementsAre("1 one"));
}

TEST(TextParts, AreFollowedTenDeepAndNoDeeper) {
    EXPECT_THAT(visited(nested(10)), ElementsAre("1.1.1.1.1.1.1.1.1.1 deep"));
    EXPECT_THAT(visited(nested(11)), IsEmpty());
    EXPECT_THAT(visited(nested(2000)), IsEmpty());
}

TEST(TextParts, AreAThousandAtTheMost) {
    std::string text = "Content-Type: multipart/mixed; boundary=o\n\n";
    for (int i = 0; i < 1500; ++i) {
        text += "--o\nContent-Type: text/plain\n\nx\n";
    }
    EXPECT_EQ(visited(text).size(), 1000U);
}

}  // namespace
