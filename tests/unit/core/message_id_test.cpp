// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_id.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using namespace std::string_view_literals;

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
