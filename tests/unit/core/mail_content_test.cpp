#include "core/mail_content.h"

#include <gtest/gtest.h>

namespace {

Mail_content to(const char* address) {
    Mail_content mail;
    set_recipient(mail, address);
    return mail;
}

TEST(Recipient, IsDividedAtItsFirstAt) {
    const Mail_content mail = to("a@b@c");
    EXPECT_EQ(mail.to, "a@b@c");
    EXPECT_EQ(mail.to_mailname, "a");
    EXPECT_EQ(mail.to_domain, "b@c");
}

TEST(Recipient, WithoutAnAtIsBothHalves) {
    EXPECT_EQ(to("info").to_mailname, "info");
    EXPECT_EQ(to("info").to_domain, "info");
    EXPECT_EQ(to("").to_domain, "");
}

TEST(Recipient, MayHaveAnEmptyHalf) {
    EXPECT_EQ(to("@b").to_mailname, "");
    EXPECT_EQ(to("@b").to_domain, "b");
    EXPECT_EQ(to("a@").to_domain, "");
}

}  // namespace
