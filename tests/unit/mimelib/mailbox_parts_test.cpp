// SPDX-License-Identifier: Apache-2.0

#include "mimelib/src/mailbox_parts.h"

#include <string>

#include <gtest/gtest.h>
#include <mimelib/mimepp.h>

#include "tests/unit/mimelib/reading.h"

namespace {

// Local part and domain with a bar between them.
std::string parts(const std::string& text) {
    const auto found = mimelib::read_mailbox(to_dw_string(text));
    return to_string(found.local_part) + "|" + to_string(found.domain);
}

TEST(MailboxParts, PlainAddress) {
    EXPECT_EQ(parts("a.b@c.d"), "a.b|c.d");
    EXPECT_EQ(parts("a . b @ c . d"), "a.b|c.d");
    EXPECT_EQ(parts("a(x).b@c(y).d (z)"), "a.b|c.d");
    EXPECT_EQ(parts("\"a b\"@c"), "\"a b\"|c");
}

TEST(MailboxParts, AngleForm) {
    EXPECT_EQ(parts("Ann Lee <ann@b.org> x"), "ann|b.org");
    EXPECT_EQ(parts("<x y@c>"), "xy|c");
    EXPECT_EQ(parts("<ann@b.org"), "ann|b.org");
}

TEST(MailboxParts, TheDomainMayBeMissing) {
    EXPECT_EQ(parts("Ann Lee"), "AnnLee|");
    EXPECT_EQ(parts("Ann <ann>"), "ann|");
    EXPECT_EQ(parts("ann@"), "ann|");
    EXPECT_EQ(parts("ann@[1.2.3"), "ann|");
}

TEST(MailboxParts, NoLocalPart) {
    EXPECT_EQ(parts(""), "|");
    EXPECT_EQ(parts("Ann <>"), "|");
    EXPECT_EQ(parts("@b"), "|b");
    EXPECT_EQ(parts("\"never closed <a@b>"), "|");
}

TEST(MailboxParts, ARouteIsSkipped) {
    EXPECT_EQ(parts("<@r,@s:ann@b>"), "ann|b");
    EXPECT_EQ(parts("<@b>"), "|");
    EXPECT_EQ(parts("<@\":\"(:)b>"), "|");
}

TEST(MailboxParts, TheLocalPartBeginsWithTheColonOfARoute) {
    EXPECT_EQ(parts("<@r:.a@b>"), ".a|b");
    EXPECT_EQ(parts("<@r:. a . b@c>"), ".a.b|c");
    EXPECT_EQ(parts("<@:.>"), ".|");
    EXPECT_EQ(parts("<@r::<[1](x).a@b>"), ".a|b");
    EXPECT_EQ(parts("<>@r:.a@b>"), ".a|b");
}

TEST(MailboxParts, ASecondAtSignAfterARouteStartsTheDomain) {
    EXPECT_EQ(parts("<@r:@b>"), "|b");
    EXPECT_EQ(parts("<@r:@s:ann@b>"), "|sannb");
}

TEST(MailboxParts, AfterTheAngleOnlyAWordStartsTheLocalPart) {
    EXPECT_EQ(parts("<.a.b@c>"), "a.b|c");
    EXPECT_EQ(parts("<. . a@b>"), "a|b");
    EXPECT_EQ(parts("<>a@b"), "a|b");
}

TEST(MailboxParts, WithinAnglesOnlyTheAtSignEndsTheLocalPart) {
    EXPECT_EQ(parts("<a> b@c"), "ab|c");
    EXPECT_EQ(parts("<a<b@c>"), "ab|c");
}

TEST(MailboxParts, OtherSpecialsAreIgnored) {
    EXPECT_EQ(parts("a\\b;c:d)]e[1]@f"), "abcde|f");
    EXPECT_EQ(parts("a>b@c"), "ab|c");
}

TEST(MailboxParts, TheDomainRunsToTheClosingAngle) {
    EXPECT_EQ(parts("a@b>c"), "a|b");
    EXPECT_EQ(parts("a@b@c"), "a|bc");
    EXPECT_EQ(parts("a@b<c;d:e"), "a|bcde");
    EXPECT_EQ(parts("a@[1 2] \"q\"(c)b"), "a|[1 2]b");
}

TEST(MailboxParts, LineEndsInTheLocalPartBecomeSpaces) {
    EXPECT_EQ(parts("\"a\r\n b\"@c"), "\"a  b\"|c");
    EXPECT_EQ(parts("\"a\n b\"@c"), "\"a  b\"|c");
    EXPECT_EQ(parts("\"a\rb\r\r\nc\"@c"), "\"a b  c\"|c");
}

TEST(MailboxParts, LineEndsInTheDomainStay) {
    EXPECT_EQ(parts("a@[x\n y]"), "a|[x\n y]");
}

TEST(MailboxParts, PartsInOnePieceAreSlices) {
    const DwString text("Ann <a.b@c.d>");
    const auto found = mimelib::read_mailbox(text);
    EXPECT_EQ(found.local_part.data(), text.data() + 5);
    EXPECT_EQ(found.domain.data(), text.data() + 9);
}

}  // namespace
