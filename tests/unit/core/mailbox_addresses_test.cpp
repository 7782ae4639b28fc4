// SPDX-License-Identifier: Apache-2.0

#include "core/people/mailbox_addresses.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/message/header_fields.h"
#include "core/message/mail_address.h"
#include "encoding/idn.h"

namespace {

using namespace autoresponder;

MailboxAddresses of(const std::string& mailname, const std::string& domain) {
    MailboxAddresses addresses;
    addresses.add_local_part(mailname);
    addresses.add_domain(domain);
    return addresses;
}

TEST(MailboxAddresses, CompareWithoutLetterCase) {
    const MailboxAddresses own = of("Ann.Lee", "Example.COM");
    EXPECT_TRUE(own.contain(MailAddress{"ann.lee", "example.com"}));
    EXPECT_FALSE(own.contain(MailAddress{"ann", "example.com"}));
    EXPECT_FALSE(own.contain(MailAddress{"ann.lee", "example.org"}));
    EXPECT_FALSE(own.contain(MailAddress{"ann.lee", ""}));
}

TEST(MailboxAddresses, CompareInBothFormsOfAnInternationalisedDomain) {
    const std::string written =
        "b\xC3\xBC"
        "cher.example";
    const std::string encoded = "xn--bcher-kva.example";
    for (const std::string& domain : {written, encoded}) {
        const MailboxAddresses own = of("ann", domain);
        EXPECT_TRUE(own.contain(MailAddress{"ann", written})) << domain;
        EXPECT_TRUE(own.contain(MailAddress{"ann", encoded})) << domain;
        EXPECT_TRUE(own.contain(MailAddress{"ann",
                                            "B\xC3\x9C"
                                            "CHER.example"}))
            << domain;
        EXPECT_FALSE(own.contain(MailAddress{"ann", "bucher.example"})) << domain;
        EXPECT_FALSE(own.contain(MailAddress{"ann", "b\xFF.example"})) << domain;
    }
}

TEST(MailboxAddresses, CompareInBothFormsOfALongDomain) {
    const std::string written =
        "a-shop-for-all-sorts-of-new-and-second-hand-b\xC3\xBC"
        "cher.example";
    const MailboxAddresses own = of("ann", tolva::idn::toAscii(written));
    EXPECT_TRUE(own.contain(MailAddress{"ann", written}));
}

TEST(MailboxAddresses, ADomainWithoutAnotherFormIsItself) {
    const MailboxAddresses own = of("ann", "B\xFF.example");
    EXPECT_TRUE(own.contain(MailAddress{"ann", "b\xFF.example"}));
    EXPECT_FALSE(own.contain(MailAddress{"ann", "b\xFE.example"}));
}

TEST(MailboxAddresses, AreLookedForInTheFieldsThatNameRecipients) {
    const MailboxAddresses own = of("ann", "example.com");
    const auto stand_in = [&own](std::string_view header) {
        return own.stand_in(HeaderFields(header));
    };
    for (const std::string field : {"To", "cc", "RESENT-TO", "Resent-Cc"}) {
        EXPECT_TRUE(stand_in("Subject: x\n" + field + ": x@y.org, Ann <ANN@example.com>\n"));
    }
    for (const std::string field : {"Bcc", "Resent-Bcc", "From", "X-To", "Apparently-To"}) {
        EXPECT_FALSE(stand_in(field + ": ann@example.com\n"));
    }
    EXPECT_TRUE(stand_in("To: x@y.org\nTo: ann@example.com\n"));
    EXPECT_FALSE(stand_in("To: x@y.org\nCc:\n"));
    EXPECT_FALSE(stand_in(""));
}

}  // namespace
