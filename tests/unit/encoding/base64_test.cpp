// SPDX-License-Identifier: Apache-2.0

#include "encoding/base64.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Encodes into a buffer of exactly the documented room, so that one byte too many is noticed.
std::string encode(const std::string& bytes) {
    const std::size_t room = 4 * ((bytes.size() + 2) / 3) + 1;
    const auto output = std::make_unique<char[]>(room);
    std::memset(output.get(), 'x', room);
    const std::size_t written = base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()),
                                             bytes.size(), output.get());
    EXPECT_EQ(written, room - 1);
    EXPECT_EQ(output[written], '\0');
    return {output.get(), written};
}

// Decodes from and into buffers of exactly the documented sizes.
std::string decode(const std::string& text) {
    const std::vector<char> input(text.begin(), text.end());
    const auto output = std::make_unique<unsigned char[]>(3 * (text.size() / 4));
    const std::size_t written = base64ArrayDecode(input.data(), input.size(), output.get());
    return {reinterpret_cast<const char*>(output.get()), written};
}

std::string all_bytes() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(i);
    }
    return bytes;
}

}  // namespace

TEST(Base64Tables, IndexIsTheInverseOfTheAlphabet) {
    ASSERT_EQ(std::strlen(base64tab), 64U);
    for (unsigned code = 0; code < sizeof(base64idx); ++code) {
        const char* at = code == 0 ? nullptr : std::strchr(base64tab, static_cast<int>(code));
        EXPECT_EQ(base64idx[code], at == nullptr ? 255 : at - base64tab) << "code " << code;
    }
}

TEST(Base64Encode, NoBytesYieldAnEmptyTerminatedText) {
    EXPECT_EQ(encode(""), "");
}

TEST(Base64Encode, OneByteYieldsTwoPaddingCharacters) {
    EXPECT_EQ(encode("A"), "QQ==");
}

TEST(Base64Encode, TwoBytesYieldOnePaddingCharacter) {
    EXPECT_EQ(encode("AB"), "QUI=");
}

TEST(Base64Encode, ThreeBytesYieldNoPadding) {
    EXPECT_EQ(encode("ABC"), "QUJD");
}

TEST(Base64Encode, TestVectorsOfTheRfc) {
    EXPECT_EQ(encode("f"), "Zg==");
    EXPECT_EQ(encode("fo"), "Zm8=");
    EXPECT_EQ(encode("foo"), "Zm9v");
    EXPECT_EQ(encode("foob"), "Zm9vYg==");
    EXPECT_EQ(encode("fooba"), "Zm9vYmE=");
    EXPECT_EQ(encode("foobar"), "Zm9vYmFy");
}

TEST(Base64Encode, FortyFiveBytesYieldSixtyCharacters) {
    const std::string encoded = encode(std::string(45, 'a'));

    EXPECT_EQ(encoded.size(), 60U);
    EXPECT_EQ(encoded.find('='), std::string::npos);
}

TEST(Base64Encode, FortySixBytesEndInOneGroupWithTwoPaddingCharacters) {
    const std::string encoded = encode(std::string(46, 'a'));

    EXPECT_EQ(encoded.size(), 64U);
    EXPECT_EQ(encoded.substr(60), "YQ==");
}

TEST(Base64Encode, HighAndZeroBytes) {
    EXPECT_EQ(encode(std::string("\xFF\xFE\xFD", 3)), "//79");
    EXPECT_EQ(encode(std::string("\0\0\0\0", 4)), "AAAAAA==");
    EXPECT_EQ(encode("\xFB\xEF\xBE"), "++++");
}

TEST(Base64Encode, WhatFollowsTheBytesDoesNotCount) {
    const std::string bytes = "f\xFF\xFF\xFF";
    std::vector<char> output(9);

    EXPECT_EQ(base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), 1, output.data()),
              4U);

    EXPECT_STREQ(output.data(), "Zg==");
}

TEST(Base64Encode, InPlaceEqualsIntoAnotherBuffer) {
    const std::string bytes = all_bytes();
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const std::string expected = encode(bytes.substr(0, length));
        std::vector<char> buffer(expected.size() + 1);
        std::memcpy(buffer.data(), bytes.data(), length);

        const std::size_t written = base64Encode(
            reinterpret_cast<const unsigned char*>(buffer.data()), length, buffer.data());

        EXPECT_EQ(written, expected.size());
        EXPECT_STREQ(buffer.data(), expected.c_str()) << "length " << length;
    }
}

TEST(Base64ArrayDecode, DecodesWhatIsEncoded) {
    const std::string bytes = all_bytes();
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        EXPECT_EQ(decode(encode(bytes.substr(0, length))), bytes.substr(0, length));
    }
}

TEST(Base64ArrayDecode, OnePaddingCharacterYieldsTwoBytes) {
    EXPECT_EQ(decode("QUI="), "AB");
}

TEST(Base64ArrayDecode, TwoPaddingCharactersYieldOneByte) {
    EXPECT_EQ(decode("QQ=="), "A");
}

TEST(Base64ArrayDecode, BitsThatThePaddingCutsOffDoNotCount) {
    EXPECT_EQ(decode("Qf=="), "A");
    EXPECT_EQ(decode("QUD="), "A@");
}

TEST(Base64ArrayDecode, GroupsBeforeThePaddedOneAreWhole) {
    EXPECT_EQ(decode("QUJDQUI="), "ABCAB");
    EXPECT_EQ(decode("QUJDQQ=="), "ABCA");
}

TEST(Base64ArrayDecode, EmptyTextDecodesToNothing) {
    EXPECT_EQ(decode(""), "");
}

TEST(Base64ArrayDecode, RemainderWithoutPaddingIsIgnored) {
    EXPECT_EQ(decode("Q"), "");
    EXPECT_EQ(decode("QU"), "");
    EXPECT_EQ(decode("QUJ"), "");
    EXPECT_EQ(decode("QUJDQ"), "ABC");
    EXPECT_EQ(decode("QUJDQU"), "ABC");
    EXPECT_EQ(decode("QUJDQUJ"), "ABC");
}

TEST(Base64ArrayDecode, LessThanAGroupWithPaddingDecodesToNothing) {
    EXPECT_EQ(decode("="), "");
    EXPECT_EQ(decode("Q="), "");
    EXPECT_EQ(decode("=="), "");
    EXPECT_EQ(decode("=Q"), "");
    EXPECT_EQ(decode("QQ="), "");
    EXPECT_EQ(decode("==="), "");
}

TEST(Base64ArrayDecode, PaddingAfterAGroupAndARemainderCountsForTheLastWholeGroup) {
    EXPECT_EQ(decode("QUJD="), "AB");
    EXPECT_EQ(decode("QUJD=="), "A");
}

TEST(Base64ArrayDecode, ForeignCharacterAddsItsTableValue) {
    // 16 * 64^3 + 255 * 64^2 + 9 * 64 + 3: the 255 carries into the first symbol's bits.
    EXPECT_EQ(decode("Q*JD"), "\x4F\xF2\x43");
}

TEST(Base64ArrayDecode, PaddingCharacterInsideIsForeignToo) {
    // Four times 255, cut off above the 24th bit.
    EXPECT_EQ(decode("====QUJD"),
              "\x0C\x30\xBF"
              "ABC");
}

TEST(Base64ArrayDecode, CodesOf128AndAboveAreForeign) {
    for (int code = 128; code < 256; ++code) {
        const std::string text(4, static_cast<char>(code));
        EXPECT_EQ(decode(text), "\x0C\x30\xBF") << "code " << code;
    }
}

TEST(Base64Decode, TakesTheLengthOfTheText) {
    std::vector<unsigned char> output(6);

    EXPECT_EQ(base64Decode("QUJDQUI=", output.data()), 5U);

    EXPECT_EQ(std::string(output.begin(), output.begin() + 5), "ABCAB");
}

TEST(Base64Decode, AddsNoZeroByte) {
    std::vector<unsigned char> output(4, 'x');

    EXPECT_EQ(base64Decode("QUJD", output.data()), 3U);

    EXPECT_EQ(output[3], 'x');
}

TEST(Base64Decode, EmptyTextDecodesToNothing) {
    unsigned char untouched = 'x';

    EXPECT_EQ(base64Decode("", &untouched), 0U);

    EXPECT_EQ(untouched, 'x');
}
