#include "core/envelope_sender.h"

#include <cstdlib>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "core/header_fields.h"

namespace {

class EnvelopeSender : public testing::Test {
  protected:
    void SetUp() override { forget(); }
    void TearDown() override { forget(); }

    static void forget() {
        unsetenv("SENDER");
        unsetenv("RETURN_PATH");
    }
    static std::optional<MailAddress> of(std::string_view header) {
        return envelope_sender(HeaderFields(header));
    }
};

const MailAddress kAnn = {"ann", "b.org"};
const MailAddress kNobody = {"", ""};

TEST_F(EnvelopeSender, IsUnknownWhereNothingTells) {
    EXPECT_EQ(of("From: ann@b.org\n"), std::nullopt);
}

TEST_F(EnvelopeSender, IsThatOfTheFirstReturnPathField) {
    EXPECT_EQ(of("Return-Path: <Ann@B.org>\nReturn-Path: <>\n"), kAnn);
    EXPECT_EQ(of("RETURN-PATH:\n (x@y) <@relay.org:\"ann\"@b.org>\n"), kAnn);
    EXPECT_EQ(of("Return-Path: ann@b.org\n"), kAnn);
    EXPECT_EQ(of("Return-Path: <#@[]>\n"), (MailAddress{"#", "[]"}));
}

TEST_F(EnvelopeSender, IsNobodyWhereTheFieldNamesNobody) {
    EXPECT_EQ(of("Return-Path: <>\nReturn-Path: <ann@b.org>\n"), kNobody);
    EXPECT_EQ(of("Return-Path: (x@y)\n < > \n"), kNobody);
    EXPECT_EQ(of("Return-Path:\n"), kNobody);
}

TEST_F(EnvelopeSender, InTheEnvironmentCountsBeforeTheField) {
    setenv("SENDER", "Ann@B.org", 1);
    EXPECT_EQ(of("Return-Path: <>\n"), kAnn);
    setenv("SENDER", "", 1);
    EXPECT_EQ(of("Return-Path: <ann@b.org>\n"), kNobody);
}

TEST_F(EnvelopeSender, IsLookedForInBothVariables) {
    setenv("RETURN_PATH", "<ann@b.org>", 1);
    EXPECT_EQ(of(""), kAnn);
    setenv("RETURN_PATH", "<>", 1);
    EXPECT_EQ(of(""), kNobody);
    setenv("SENDER", "ann@b.org", 1);
    EXPECT_EQ(of(""), kAnn);
}

TEST_F(EnvelopeSender, StandsInAVariableWithoutSyntax) {
    setenv("SENDER", "a,b (c)@b.org", 1);
    EXPECT_EQ(of(""), (MailAddress{"a,b (c)", "b.org"}));
    setenv("SENDER", "#@[]", 1);
    EXPECT_EQ(of(""), (MailAddress{"#", "[]"}));
    setenv("SENDER", "<", 1);
    EXPECT_EQ(of(""), (MailAddress{"<", ""}));
}

}  // namespace
