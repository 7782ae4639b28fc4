#include "core/mail_program.h"

#include <string_view>

#include <gtest/gtest.h>

namespace {

TEST(MailProgram, AddressThatBeginsWithAHyphenIsObjectedTo) {
    EXPECT_STREQ(recipient_objection("-bs@b.org"), "the address begins with a hyphen");
    EXPECT_EQ(recipient_objection("a-b@b.org"), nullptr);
    EXPECT_EQ(recipient_objection("\"-a\"@b.org"), nullptr);
    EXPECT_EQ(recipient_objection(""), nullptr);
}

TEST(MailProgram, AddressWithAControlCharacterIsObjectedTo) {
    const char* const objection = "the address holds a control character";
    EXPECT_STREQ(recipient_objection("a@[x\n y]"), objection);
    EXPECT_STREQ(recipient_objection("a@[x\rBcc: y]"), objection);
    EXPECT_STREQ(recipient_objection(std::string_view("a\0b@c", 5)), objection);
    EXPECT_STREQ(recipient_objection("a\x7F@b.org"), objection);
    EXPECT_EQ(recipient_objection("\"a b\"@\xC3\xBC.org"), nullptr);
}

}  // namespace
