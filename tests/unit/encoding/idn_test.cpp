// SPDX-License-Identifier: Apache-2.0

#include "encoding/idn.h"

#include <idna.h>

#include <exception>
#include <limits>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

using tolva::idn::emailToAscii;
using tolva::idn::IdnaError;
using tolva::idn::toAscii;
using tolva::idn::toUtf8;

namespace {

// The code of the IdnaError that `conversion` throws for `text`, -1 when it throws none.
int failure(std::string (*conversion)(const std::string&), const std::string& text) {
    try {
        conversion(text);
    } catch (const IdnaError& error) {
        return error.code();
    }
    return -1;
}

}  // namespace

TEST(IdnStrerror, EveryCodeHasItsText) {
    EXPECT_STREQ(idn_strerror(IDNA_SUCCESS), "Success");
    EXPECT_STREQ(idn_strerror(IDNA_STRINGPREP_ERROR), "Stringprep error");
    EXPECT_STREQ(idn_strerror(IDNA_PUNYCODE_ERROR), "Punycode error");
    EXPECT_STREQ(idn_strerror(IDNA_CONTAINS_NON_LDH), "Contains non-LDH characters");
    EXPECT_STREQ(idn_strerror(IDNA_CONTAINS_MINUS), "Contains minus");
    EXPECT_STREQ(idn_strerror(IDNA_INVALID_LENGTH), "Invalid length");
    EXPECT_STREQ(idn_strerror(IDNA_NO_ACE_PREFIX), "ACE prefix not found");
    EXPECT_STREQ(idn_strerror(IDNA_ROUNDTRIP_VERIFY_ERROR), "Verify error");
    EXPECT_STREQ(idn_strerror(IDNA_CONTAINS_ACE_PREFIX), "ACE prefix found");
    EXPECT_STREQ(idn_strerror(IDNA_ICONV_ERROR), "Iconv error");
    EXPECT_STREQ(idn_strerror(IDNA_MALLOC_ERROR), "Cannot allocate buffer");
}

TEST(IdnStrerror, TheCodesAreTheNumbersOfTheInterface) {
    EXPECT_STREQ(idn_strerror(0), "Success");
    EXPECT_STREQ(idn_strerror(9), "Iconv error");
    EXPECT_STREQ(idn_strerror(201), "Cannot allocate buffer");
}

TEST(IdnStrerror, OtherCodesAreUnknown) {
    for (const int code :
         {-1, 10, 12, 200, 202, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_STREQ(idn_strerror(code), "Unknown error") << code;
    }
}

TEST(IdnaError, WhatIsTheTextOfItsCode) {
    const IdnaError error(IDNA_PUNYCODE_ERROR);
    const std::exception& base = error;
    EXPECT_EQ(error.code(), IDNA_PUNYCODE_ERROR);
    EXPECT_STREQ(base.what(), "Punycode error");
}

TEST(IdnaError, HoldsItsCodeAndNothingElse) {
    struct CodeOnly : std::exception {
        int code;
    };
    EXPECT_EQ(sizeof(IdnaError), sizeof(CodeOnly));
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<IdnaError>);
}

TEST(ToAscii, AsciiNameIsUnchanged) {
    EXPECT_EQ(toAscii("example.com"), "example.com");
    EXPECT_EQ(toAscii("Mixed-Case.Example.COM"), "Mixed-Case.Example.COM");
    EXPECT_EQ(toAscii("xn--bcher-kva.example"), "xn--bcher-kva.example");
}

TEST(ToAscii, Utf8LabelsBecomeAce) {
    EXPECT_EQ(toAscii("b\u00FCcher.example"), "xn--bcher-kva.example");
    EXPECT_EQ(toAscii("B\u00DCCHER.example"), "xn--bcher-kva.example");
}

TEST(ToAscii, AddressOfAsciiIsUnchanged) {
    EXPECT_EQ(toAscii("info@example.com"), "info@example.com");
    EXPECT_EQ(toAscii("odd_local+part@example.com"), "odd_local+part@example.com");
}

TEST(ToAscii, EmptyNameIsUnchanged) {
    EXPECT_EQ(toAscii(""), "");
}

TEST(ToAscii, EmptyLabelIsRefused) {
    EXPECT_EQ(failure(toAscii, "a..b"), IDNA_INVALID_LENGTH);
}

TEST(ToAscii, LabelOf64BytesIsRefused) {
    EXPECT_EQ(toAscii(std::string(63, 'a')), std::string(63, 'a'));
    EXPECT_EQ(failure(toAscii, std::string(64, 'a')), IDNA_INVALID_LENGTH);
}

TEST(ToAscii, InvalidUtf8IsRefused) {
    EXPECT_EQ(failure(toAscii, "\xFF.example"), IDNA_ICONV_ERROR);
}

TEST(ToAscii, UnassignedCodePointIsRefused) {
    EXPECT_EQ(failure(toAscii, "\xC8\xA1.example"), IDNA_STRINGPREP_ERROR);
}

TEST(ToAscii, NameEndsAtAZeroByte) {
    EXPECT_EQ(toAscii(std::string("example.com\0.org", 16)), "example.com");
}

TEST(ToUtf8, AceLabelsBecomeUtf8) {
    EXPECT_EQ(toUtf8("xn--bcher-kva.example"), "b\u00FCcher.example");
}

TEST(ToUtf8, OtherLabelsAreUnchanged) {
    EXPECT_EQ(toUtf8("example.com"), "example.com");
    EXPECT_EQ(toUtf8("xn--\x7F.example"), "xn--\x7F.example");
}

TEST(ToUtf8, InvalidUtf8IsRefused) {
    EXPECT_EQ(failure(toUtf8, "\xFF.example"), IDNA_ICONV_ERROR);
}

TEST(EmailToAscii, AddressWithoutAtIsUnchanged) {
    EXPECT_EQ(emailToAscii("b\u00FCcher.example"), "b\u00FCcher.example");
    EXPECT_EQ(emailToAscii("\xFF"), "\xFF");
    EXPECT_EQ(emailToAscii(""), "");
}

TEST(EmailToAscii, LocalPartAndAtStayAndTheDomainIsConverted) {
    EXPECT_EQ(emailToAscii("m\u00FCller@b\u00FCcher.example"), "m\u00FCller@xn--bcher-kva.example");
}

TEST(EmailToAscii, LocalPartMayHoldAnyBytes) {
    const std::string local("\xFF\0 \"", 4);
    EXPECT_EQ(emailToAscii(local + "@example.com"), local + "@example.com");
}

TEST(EmailToAscii, EverythingAfterTheFirstAtIsTheDomain) {
    EXPECT_EQ(emailToAscii("a@b@example.com"), "a@b@example.com");
    EXPECT_EQ(emailToAscii("a@b\xC3\xBC@example.com"), "a@xn--b@example-q9a.com");
}

TEST(EmailToAscii, ErrorOfTheDomainPasses) {
    EXPECT_EQ(failure(emailToAscii, "a@" + std::string(64, 'b')), IDNA_INVALID_LENGTH);
}
