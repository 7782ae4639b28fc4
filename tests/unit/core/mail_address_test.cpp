// SPDX-License-Identifier: Apache-2.0

#include "core/message/mail_address.h"

#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace autoresponder;
using testing::ElementsAre;
using testing::IsEmpty;

// The addresses, each as local part, "@", domain; "@" and the domain only if there is one.
std::vector<std::string> addresses(std::string_view body) {
    std::vector<std::string> all;
    AddressReader reader(body);
    while (const auto address = reader.next()) {
        all.push_back(address->local_part + (address->domain.empty() ? "" : "@" + address->domain));
    }
    EXPECT_EQ(reader.next(), std::nullopt) << "the end is not the end";
    return all;
}

TEST(AddressReader, ReadsTheMailboxesOfAList) {
    EXPECT_THAT(addresses("a@b.org, Ann <c@d.org>,<e@f.org>"),
                ElementsAre("a@b.org", "c@d.org", "e@f.org"));
    EXPECT_THAT(addresses(",, a@b.org ,,"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses(""), IsEmpty());
    EXPECT_THAT(addresses("<>"), IsEmpty());
    EXPECT_THAT(addresses("<>, <>"), IsEmpty());
}

TEST(AddressReader, LowersLettersOfAsciiOnly) {
    EXPECT_THAT(addresses("ANN.Lee@Example.ORG"), ElementsAre("ann.lee@example.org"));
    EXPECT_THAT(addresses("J\xC3\x96RG@X.org"), ElementsAre("j\xC3\x96rg@x.org"));
}

TEST(AddressReader, ReadsTheMembersOfGroups) {
    EXPECT_THAT(addresses("friends: a@b.org, Ann <c@d.org>;, e@f.org"),
                ElementsAre("a@b.org", "c@d.org", "e@f.org"));
    EXPECT_THAT(addresses("undisclosed-recipients:;"), IsEmpty());
    EXPECT_THAT(addresses("a@b.org: c@d.org;"), ElementsAre("c@d.org"));
}

TEST(AddressReader, MistakesNoDisplayNameForAnAddress) {
    EXPECT_THAT(addresses("\"x@y.org\" <a@b.org>"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("x@y.org <a@b.org>"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("=?utf-8?Q?x@y.org?= <a@b.org>"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("\"Lee, Ann <x@y.org>\" <a@b.org>"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("Ann Lee a@b.org"), ElementsAre("a@b.org"));
}

TEST(AddressReader, MistakesNoCommentForAnAddress) {
    EXPECT_THAT(addresses("a@b.org (x@y.org, (z@y.org))"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("(x@y.org) a(1)@(2)b(3).(4)org"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("a@b.org (x@y.org"), ElementsAre("a@b.org"));
}

TEST(AddressReader, MistakesNoRouteForAnAddress) {
    EXPECT_THAT(addresses("<@x.org,@y.org:a@b.org>"), ElementsAre("a@b.org"));
}

TEST(AddressReader, JoinsWhatFoldingAndGapsDivide) {
    EXPECT_THAT(addresses("a\r\n .c\n @\tb\n .org"), ElementsAre("a.c@b.org"));
    EXPECT_THAT(addresses("\"a\n b\"@c.org"), ElementsAre("a b@c.org"));
}

TEST(AddressReader, UnquotesLocalParts) {
    EXPECT_THAT(addresses("\"Ann\"@b.org"), ElementsAre("ann@b.org"));
    EXPECT_THAT(addresses("\"a\\\"\\b@c\"@d.org"), ElementsAre("a\"b@c@d.org"));
    EXPECT_THAT(addresses("\"a\".\"b\"@c.org"), ElementsAre("a.b@c.org"));
    EXPECT_THAT(addresses("\"\"@b.org, c@d.org"), ElementsAre("c@d.org"));
}

TEST(AddressReader, KeepsDomainLiterals) {
    EXPECT_THAT(addresses("a@[IPv6:::1], <#@[]>"), ElementsAre("a@[ipv6:::1]", "#@[]"));
}

TEST(AddressReader, TreatsAWordWithoutADomainAsALocalPart) {
    EXPECT_THAT(addresses("root"), ElementsAre("root"));
    EXPECT_THAT(addresses("<MAILER-DAEMON>"), ElementsAre("mailer-daemon"));
    EXPECT_THAT(addresses("a@, b"), ElementsAre("a", "b"));
}

TEST(AddressReader, SkipsWhatIsNotAnAddress) {
    EXPECT_THAT(addresses("@b.org, c@d.org"), ElementsAre("c@d.org"));
    EXPECT_THAT(addresses("a@b@c.org, d@e.org"), ElementsAre("d@e.org"));
    EXPECT_THAT(addresses("a@b:c, d@e.org"), ElementsAre("c", "d@e.org"));
    EXPECT_THAT(addresses("] ) \\ a@b.org"), ElementsAre("a@b.org"));
}

TEST(AddressReader, EndsADomainWhereItDoesNotContinue) {
    EXPECT_THAT(addresses("a@b.org Ann. Lee"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("a@b.org \"x\" .net"), ElementsAre("a@b.org"));
    EXPECT_THAT(addresses("a@b.org) .net, c@d.org"), ElementsAre("a@b.org", "c@d.org"));
}

TEST(AddressReader, KeepsThousandBytesOfAPart) {
    const std::string most(1000, 'x');
    EXPECT_THAT(addresses(most + "@" + most), ElementsAre(most + "@" + most));
    EXPECT_THAT(addresses(most + "y@" + most + "y"), ElementsAre(most + "@" + most));
    EXPECT_THAT(addresses("\"" + most + "y\".z@b"), ElementsAre(most + "@b"));
}

TEST(AddressReader, ReadsTheLastOfManyAddresses) {
    std::string body;
    for (int i = 0; i < 100'000; ++i) {
        body += "x@y.org,\n ";
    }
    const std::vector<std::string> all = addresses(body + "a@b.org");
    ASSERT_EQ(all.size(), 100'001U);
    EXPECT_EQ(all.back(), "a@b.org");
}

TEST(BareAddress, IsDividedAtItsLastAtSign) {
    EXPECT_EQ(bare_address("Ann@B.org"), (MailAddress{"ann", "b.org"}));
    EXPECT_EQ(bare_address("a@b@c.org"), (MailAddress{"a@b", "c.org"}));
    EXPECT_EQ(bare_address("#@[]"), (MailAddress{"#", "[]"}));
    EXPECT_EQ(bare_address("root"), (MailAddress{"root", ""}));
    EXPECT_EQ(bare_address(""), (MailAddress{"", ""}));
}

}  // namespace
