// SPDX-License-Identifier: Apache-2.0

#include "core/reply/auto_submitted.h"

#include <cstddef>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/message/header_fields.h"

namespace {

using namespace autoresponder;
using namespace std::string_view_literals;

std::string written(const ReplyMarks& marks) {
    std::ostringstream out;
    marks.write(out);
    return out.str();
}

std::string marks_of(std::string_view header) {
    return written(ReplyMarks(HeaderFields(header)));
}

TEST(ReplyMarks, AreNoneByDefault) {
    EXPECT_EQ(written(ReplyMarks()), "");
}

TEST(ReplyMarks, NameTheMessageThatIsAnswered) {
    EXPECT_EQ(marks_of("Subject: x\nMESSAGE-ID:\r\n\t<a.1@b.org>\r\nMessage-ID: <other@b.org>\n"),
              "Auto-Submitted: auto-replied\n"
              "In-Reply-To: <a.1@b.org>\n"
              "References: <a.1@b.org>\n");
}

TEST(ReplyMarks, NameNoMessageWithoutAWellFormedId) {
    EXPECT_EQ(marks_of("Subject: x\n"), "Auto-Submitted: auto-replied\n");
    EXPECT_EQ(marks_of("Message-ID: x\nMessage-ID: <a@b.org>\n"), "Auto-Submitted: auto-replied\n");
}

TEST(MessageId, StandsInItsBrackets) {
    EXPECT_EQ(message_id("<a@b>"), "<a@b>");
    EXPECT_EQ(message_id("<!#$%&'*+-/=?^_`{|}~(\"x\\,;:.[]@b>"),
              "<!#$%&'*+-/=?^_`{|}~(\"x\\,;:.[]@b>");
    EXPECT_EQ(message_id(" \n (at (the) shop) <a@b> (added)\n"), "<a@b>");
    EXPECT_EQ(message_id("(<x@y>) <a@b>"), "<a@b>");
}

TEST(MessageId, NeedsBothSidesAndBothBrackets) {
    for (const std::string_view body :
         {"", "<>", "<@>", "<a@>", "<@b>", "<ab>", "a@b", "<a@b", "a@b>", "x <a@b>", "<a@b> x",
          "<a@b> <c@d>", "\"<a@b>\"", "(<a@b>", "<<a@b>", "<a@b>>"}) {
        EXPECT_EQ(message_id(body), std::nullopt) << body;
    }
}

TEST(MessageId, HoldsPrintableAsciiOnly) {
    for (const std::string_view body :
         {"<a b@c>"sv, "<a@b\n >"sv, "<a@\r\n b>"sv, "<a\tx@b>"sv, "<a\0x@b>"sv, "<a\x7Fx@b>"sv,
          "<\xC3\xB6@b>"sv, "<a<x@b>"sv, "<a\x01@b>"sv}) {
        EXPECT_EQ(message_id(body), std::nullopt) << body;
    }
}

TEST(MessageId, HasNoMoreThan998Bytes) {
    const auto id_of_length = [](std::size_t length) {
        return "<" + std::string(length - 4, 'x') + "@b>";
    };
    EXPECT_EQ(message_id(id_of_length(998)), id_of_length(998));
    EXPECT_EQ(message_id(id_of_length(999)), std::nullopt);
    EXPECT_EQ(message_id(id_of_length(1'000'000)), std::nullopt);
}

}  // namespace
