// SPDX-License-Identifier: Apache-2.0

#include "encoding/rfc1522.h"

#include <iostream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "encoding/rfc1522_internal.h"
#include "tests/unit/encoding/stderr_writes.h"
#include "tests/unit/encoding/test_texts.h"

using tolva::rfc1522::decode;
using tolva::rfc1522::encode;
using tolva::rfc1522::qp_encode;
using tolva::rfc1522::rfc1522_decode_word;
using tolva::rfc1522::rfc1522_nonprintable;

namespace {

struct Decoded {
    std::string text;
    std::string complaints;
};

// Decodes `text` and captures what that writes to standard error.
Decoded decode_aloud(const std::string& text) {
    testing::internal::CaptureStderr();
    const std::string decoded = decode(text);
    return {decoded, testing::internal::GetCapturedStderr()};
}

std::string runtime_failure(const std::string& text) {
    return thrown_text<std::runtime_error>([&] { decode(text); });
}

std::string range_failure(const std::string& text) {
    return thrown_text<std::out_of_range>([&] { decode(text); });
}

}  // namespace

TEST(Rfc1522Nonprintable, ExactlyTheListedBytes) {
    const std::string special = "!\"()*+-/=?_";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool expected = byte < 0x20 || byte >= 0x80 || special.find(c) != std::string::npos;
        EXPECT_EQ(rfc1522_nonprintable(c), expected) << "byte " << byte;
    }
}

TEST(Rfc1522Nonprintable, DeleteIsPrintable) {
    EXPECT_FALSE(rfc1522_nonprintable('\x7F'));
}

TEST(QpEncode, SpaceBecomesUnderscoreAndSpecialBytesHexadecimal) {
    EXPECT_EQ(qp_encode("a b\tc=_?"), "a_b=09c=3D=5F=3F");
    EXPECT_EQ(qp_encode("\xC3\xBC\xFF\n"), "=C3=BC=FF=0A");
    EXPECT_EQ(qp_encode(std::string("\0", 1)), "=00");
    EXPECT_EQ(qp_encode("#$%&',.:;<>@[\\]^`{|}~\x7F"), "#$%&',.:;<>@[\\]^`{|}~\x7F");
    EXPECT_EQ(qp_encode(""), "");
}

TEST(Encode, PlainTextIsUnchanged) {
    EXPECT_EQ(encode("Hello"), "Hello");
    EXPECT_EQ(encode(""), "");
    EXPECT_EQ(encode("Re: your mail, 100% [ok]"), "Re: your mail, 100% [ok]");
    EXPECT_EQ(encode(" leading and trailing "), " leading and trailing ");
}

TEST(Encode, TextWithASpecialByteIsEncodedWhole) {
    EXPECT_EQ(encode("Re: Gr\u00FC\u00DFe"), "=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?=");
}

TEST(Encode, LeadingSpaceStaysPlain) {
    EXPECT_EQ(encode(" Gr\u00FC\u00DFe"), " =?utf-8?Q?Gr=C3=BC=C3=9Fe?=");
    EXPECT_EQ(encode(" \xC3\xBC"), " =?utf-8?Q?=C3=BC?=");
    EXPECT_EQ(encode("  \xC3\xBC"), " =?utf-8?Q?_=C3=BC?=");
}

TEST(Encode, LeadingTabIsEncoded) {
    EXPECT_EQ(encode("\ta"), "=?utf-8?Q?=09a?=");
}

TEST(Encode, AsciiWithASpecialCharacterIsEncodedToo) {
    EXPECT_EQ(encode("a-b"), "=?utf-8?Q?a=2Db?=");
    EXPECT_EQ(encode("-"), "=?utf-8?Q?=2D?=");
    EXPECT_EQ(encode("file_1.txt"), "=?utf-8?Q?file=5F1.txt?=");
}

TEST(Encode, BlanksInsideDoNotSplit) {
    EXPECT_EQ(encode("one two three-four"), "=?utf-8?Q?one_two_three=2Dfour?=");
}

TEST(Encode, LongTextIsOneWordWithoutFolding) {
    const std::string encoded = encode(repeat("\xC3\xBC", 1000));
    EXPECT_EQ(encoded, "=?utf-8?Q?" + repeat("=C3=BC", 1000) + "?=");
}

TEST(Encode, DecodeRestoresWhatWasEncoded) {
    for (const std::string text :
         {"Re: Gr\u00FC\u00DFe", " \xC3\xBC ", "a=b?c_d", "\tx\t", "trailing blanks kept!  ",
          "line\nend", "=?utf-8?Q?x?=", "plain  text", "\xE2\x82\xAC\xF0\x9F\x98\x80"}) {
        EXPECT_EQ(decode(encode(text)), text);
    }
    const std::string zero("a\0b", 3);
    EXPECT_EQ(decode(encode(zero)), zero);
}

TEST(Decode, TextWithoutEncodedWordsIsUnchanged) {
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("Hello world"), "Hello world");
    EXPECT_EQ(decode("  two  blanks\t\tand tabs"), "  two  blanks\t\tand tabs");
    EXPECT_EQ(decode("gr\xFC\xDF"
                     "e"),
              "gr\xFC\xDF"
              "e");
    EXPECT_EQ(decode(std::string("a\0 b", 4)), std::string("a\0 b", 4));
}

TEST(Decode, AdjacentEncodedWordsJoin) {
    EXPECT_EQ(decode("=?utf-8?Q?a?= =?utf-8?Q?b?="), "ab");
    EXPECT_EQ(decode("=?utf-8?Q?a?= \t  =?utf-8?Q?b?=\t=?utf-8?Q?c?="), "abc");
}

TEST(Decode, BlanksNextToAPlainWordAreKept) {
    EXPECT_EQ(decode("x =?utf-8?Q?a?="), "x a");
    EXPECT_EQ(decode("=?utf-8?Q?a?= x"), "a x");
    EXPECT_EQ(decode("x \t =?utf-8?Q?a?=  y"), "x \t a  y");
    EXPECT_EQ(decode(" =?utf-8?Q?a?="), " a");
}

TEST(Decode, JoiningLooksAtTheMarksOnly) {
    // "x?=" is not an encoded word but ends like one, "=?y" begins like one.
    EXPECT_EQ(decode_aloud("x?= =?y").text, "x?==?y");
    EXPECT_EQ(decode_aloud("x?= =y").text, "x?= =y");
    EXPECT_EQ(decode_aloud("x= =?y").text, "x= =?y");
}

TEST(Decode, LineEndsAreNoBlanks) {
    const Decoded decoded = decode_aloud("=?utf-8?Q?a?=\n =?utf-8?Q?b?=");
    EXPECT_EQ(decoded.text, "a\n b");
    EXPECT_EQ(decoded.complaints, "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=\n\n");
}

TEST(Decode, Latin1WordBecomesUtf8) {
    EXPECT_EQ(decode("=?iso-8859-1?Q?caf=E9?="), "caf\xC3\xA9");
}

TEST(Decode, Base64Word) {
    EXPECT_EQ(decode("=?utf-8?B?QUJD?="), "ABC");
    EXPECT_EQ(decode("=?koi8-r?b?8NLJ18XU?="), "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82");
}

TEST(Decode, CharactersSplitBetweenWordsAreIncomplete) {
    EXPECT_EQ(runtime_failure("=?utf-8?Q?=C3?= =?utf-8?Q?=BC?="), "Conversion from utf-8 to utf-8");
}

TEST(Decode, UnknownEncodingLetterYieldsNothing) {
    EXPECT_EQ(decode("=?utf-8?X?abc?="), "");
    EXPECT_EQ(decode("=?utf-8??abc?="), "");
    EXPECT_EQ(decode("=?utf-8?QQ?abc?="), "");
    EXPECT_EQ(decode("a =?utf-8?X?abc?= b"), "a  b");
}

TEST(Decode, UnknownCharsetThrows) {
    EXPECT_EQ(runtime_failure("=?no-such?Q?a?="), "Cannot convert from no-such to utf-8");
    EXPECT_EQ(runtime_failure("a =?No-Such?X?a?= b"), "Cannot convert from No-Such to utf-8");
}

TEST(Decode, LanguageSuffixIsPartOfTheCharsetName) {
    EXPECT_EQ(runtime_failure("=?utf-8*en?Q?a?="), "Cannot convert from utf-8*en to utf-8");
}

TEST(Decode, EveryWordStartsInTheInitialStateOfItsCharset) {
    EXPECT_EQ(decode("=?iso-2022-jp?Q?=1B$B$=22?= =?iso-2022-jp?Q?$=22?="), "\xE3\x81\x82$\"");
    EXPECT_EQ(decode("=?utf-16?Q?=FE=FF=00a?= =?utf-16?Q?=FF=FEb=00?="), "ab");
}

TEST(Decode, InvalidBytesBecomeQuestionMarks) {
    EXPECT_EQ(decode("=?utf-8?Q?a=FFb?="), "a?b");
    EXPECT_EQ(decode("=?us-ascii?Q?caf=E9?="), "caf?");
}

TEST(Decode, TrailingBlanksAreOutOfRange) {
    for (const std::string text : {"Hello ", "Hello\t", "a b  ", " ", "\t", "=?utf-8?Q?a?= "}) {
        EXPECT_EQ(range_failure(text),
                  "basic_string::substr: __pos (which is 4294967295) > this->size() (which is " +
                      std::to_string(text.size()) + ")");
    }
}

TEST(Decode, WordsBeforeTrailingBlanksAreStillReported) {
    testing::internal::CaptureStderr();
    EXPECT_THROW(decode("=?broken "), std::out_of_range);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "wrong rfc1522 sequence (no charset): =?broken\n");
}

TEST(Decode, ComplaintsStandBeforeWhatACallerWritesAfterAnException) {
    testing::internal::CaptureStderr();
    try {
        decode("=?utf-8?Q?=xy?= =?no-such?B?*?=*");
    } catch (const std::runtime_error& error) {
        std::cerr << error.what() << "\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Bad hex in quoted-printable string: xy\n"
              "wrong rfc1522 sequence (trailing stuff): =?no-such?B?*?=*\n"
              "Bad base64 symbol: *\n"
              "Cannot convert from no-such to utf-8\n");
}

TEST(Decode, ComplaintsAreWrittenTogether) {
    StderrWrites standard_error;
    decode("=?utf-8?Q?=xy=z?= =?utf-8?B?*#?= =?broken =?broken");
    EXPECT_THAT(standard_error.take(),
                testing::ElementsAre("Bad hex in quoted-printable string: xy\n"
                                     "Bad hex in quoted-printable string: z\n"
                                     "Bad base64 symbol: *\n"
                                     "Bad base64 symbol: #\n"
                                     "wrong rfc1522 sequence (no charset): =?broken\n"
                                     "wrong rfc1522 sequence (no charset): =?broken\n"));
}

TEST(Decode, WordWithoutCharsetEndIsKeptAndNamed) {
    const Decoded decoded = decode_aloud("a =?utf-8 b");
    EXPECT_EQ(decoded.text, "a =?utf-8 b");
    EXPECT_EQ(decoded.complaints, "wrong rfc1522 sequence (no charset): =?utf-8\n");
}

TEST(Decode, WordWithoutEncodingEndIsKeptAndNamed) {
    const Decoded decoded = decode_aloud("=?utf-8?Q");
    EXPECT_EQ(decoded.text, "=?utf-8?Q");
    EXPECT_EQ(decoded.complaints, "wrong rfc1522 sequence (no encoding): =?utf-8?Q\n");
}

TEST(Decode, WordWithoutDataEndIsKeptAndNamed) {
    for (const std::string word :
         {"=?utf-8?Q?abc", "=?utf-8?Q?abc?", "=?utf-8?Q?=", "=?utf-8?Q?"}) {
        const Decoded decoded = decode_aloud(word);
        EXPECT_EQ(decoded.text, word);
        EXPECT_EQ(decoded.complaints, "wrong rfc1522 sequence (no data): " + word + "\n");
    }
}

TEST(Decode, ShortestBrokenWords) {
    EXPECT_EQ(decode_aloud("=?").complaints, "wrong rfc1522 sequence (no charset): =?\n");
    EXPECT_EQ(decode_aloud("=?=").complaints, "wrong rfc1522 sequence (no charset): =?=\n");
    EXPECT_EQ(decode_aloud("=??").complaints, "wrong rfc1522 sequence (no encoding): =??\n");
    EXPECT_EQ(decode_aloud("=???").complaints, "wrong rfc1522 sequence (no data): =???\n");
    EXPECT_EQ(decode_aloud("=").complaints, "");
}

TEST(Decode, TrailingStuffIsKeptAndNamed) {
    const Decoded decoded = decode_aloud("=?iso-8859-1?Q?=E9?=\xE9,");
    EXPECT_EQ(decoded.text, "\xC3\xA9\xE9,");
    EXPECT_EQ(decoded.complaints,
              "wrong rfc1522 sequence (trailing stuff): =?iso-8859-1?Q?=E9?=\xE9,\n");
}

TEST(Decode, WordsWithoutABlankBetweenThemAreTrailingStuff) {
    const Decoded decoded = decode_aloud("=?utf-8?Q?a?==?utf-8?Q?b?=");
    EXPECT_EQ(decoded.text, "a=?utf-8?Q?b?=");
    EXPECT_EQ(decoded.complaints,
              "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?==?utf-8?Q?b?=\n");
}

TEST(Decode, EmptyData) {
    const std::string no_data;
    EXPECT_EQ(decode("=?utf-8?Q?" + no_data + "?="), "");
}

TEST(Decode, WordInTheMiddleOfAWordIsPlain) {
    EXPECT_EQ(decode("(=?utf-8?Q?a?=)"), "(=?utf-8?Q?a?=)");
}

TEST(DecodeQ, UnderscoreIsASpace) {
    EXPECT_EQ(decode("=?utf-8?q?a_b__c?="), "a b  c");
}

TEST(DecodeQ, HexadecimalInEitherCase) {
    EXPECT_EQ(decode("=?iso-8859-1?Q?=e9=E9=2a?="), "\xC3\xA9\xC3\xA9*");
}

TEST(DecodeQ, ZeroByte) {
    EXPECT_EQ(decode("=?utf-8?Q?a=00b?="), std::string("a\0b", 3));
    EXPECT_EQ(decode(std::string("=?utf-8?Q?a\0b?=", 15)), std::string("a\0b", 3));
}

TEST(DecodeQ, OneDigitOfThePairIsEnough) {
    const Decoded decoded = decode_aloud("=?utf-8?Q?=4g=4?=");
    EXPECT_EQ(decoded.text, "\x04\x04");
    EXPECT_EQ(decoded.complaints, "");
}

TEST(DecodeQ, BadPairIsNamedAndYieldsAZeroByte) {
    const Decoded decoded = decode_aloud("=?utf-8?Q?a=xyb=g?=");
    EXPECT_EQ(decoded.text, std::string("a\0b\0", 4));
    EXPECT_EQ(decoded.complaints,
              "Bad hex in quoted-printable string: xy\nBad hex in quoted-printable string: g\n");
}

TEST(DecodeQ, PairOfAZeroByteIsNamedWhole) {
    const Decoded decoded = decode_aloud(std::string("=?utf-8?Q?=\0A?=", 15));
    EXPECT_EQ(decoded.text, std::string("\0", 1));
    EXPECT_EQ(decoded.complaints, std::string("Bad hex in quoted-printable string: \0A\n", 39));
}

TEST(DecodeQ, EqualsSignAtTheEndIsASilentZeroByte) {
    const Decoded decoded = decode_aloud("=?utf-8?Q?a=?=");
    EXPECT_EQ(decoded.text, std::string("a\0", 2));
    EXPECT_EQ(decoded.complaints, "");
}

TEST(DecodeQ, PairIsReadAsStrtoulReadsIt) {
    // A sign or a line end before the digit counts; "0x" is the digit 0.
    const Decoded decoded = decode_aloud("=?iso-8859-1?Q?=+5=-1=\nA=0x?=");
    EXPECT_EQ(decoded.text, std::string("\x05\xC3\xBF\x0A\0", 5));
    EXPECT_EQ(decoded.complaints, "");
}

TEST(DecodeB, BadSymbolsAreNamedAndSkipped) {
    const Decoded decoded = decode_aloud("=?utf-8?B?Q*U#JD?=");
    EXPECT_EQ(decoded.text, "ABC");
    EXPECT_EQ(decoded.complaints, "Bad base64 symbol: *\nBad base64 symbol: #\n");
}

TEST(DecodeWord, PlainWordIsUnchanged) {
    EXPECT_EQ(rfc1522_decode_word("plain"), "plain");
    EXPECT_EQ(rfc1522_decode_word(""), "");
    EXPECT_EQ(rfc1522_decode_word("x=?utf-8?Q?a?="), "x=?utf-8?Q?a?=");
}

TEST(DecodeWord, BlanksInsideAWordAreData) {
    EXPECT_EQ(rfc1522_decode_word("=?utf-8?Q?a b?="), "a b");
}

TEST(Decode, AHundredThousandWords) {
    EXPECT_EQ(decode(repeat("=?utf-8?Q?a?= ", 99999) + "=?utf-8?Q?a?="), std::string(100000, 'a'));
}
