// SPDX-License-Identifier: Apache-2.0

#include "encoding/iconv_recode.h"

#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/encoding/test_texts.h"

using tolva::iconvRecode;

namespace {

// The text of the std::runtime_error that the conversion throws, "" when it throws none.
std::string failure(const std::string& text, const std::string& from, const std::string& to,
                    bool skip_invalid) {
    return thrown_text<std::runtime_error>([&] { iconvRecode(text, from, to, skip_invalid); });
}

// The sizes of the pieces in which the result is handed over.
std::vector<std::size_t> piece_sizes(std::string_view text) {
    std::vector<std::size_t> sizes;
    iconvRecode(text, "UTF-8", "UTF-8", true,
                [&sizes](std::string_view piece) { sizes.push_back(piece.size()); });
    return sizes;
}

}  // namespace

TEST(IconvRecode, EmptyTextYieldsAnEmptyResult) {
    EXPECT_EQ(iconvRecode("", "ISO-8859-1", "UTF-8", true), "");
    EXPECT_EQ(iconvRecode("", "UTF-8", "UTF-8", false), "");
}

TEST(IconvRecode, EmptyTextWithAnUnknownCharsetThrows) {
    EXPECT_EQ(failure("", "no-such-charset", "UTF-8", true),
              "Cannot convert from no-such-charset to UTF-8");
}

TEST(IconvRecode, UnknownTargetThrows) {
    EXPECT_EQ(failure("a", "UTF-8", "no-such-charset", true),
              "Cannot convert from UTF-8 to no-such-charset");
}

TEST(IconvRecode, Latin1ByteBecomesTwoBytesOfUtf8) {
    EXPECT_EQ(iconvRecode("\xE9", "ISO-8859-1", "UTF-8", true), "\xC3\xA9");
}

TEST(IconvRecode, Utf8BecomesKoi8) {
    EXPECT_EQ(iconvRecode("\xD0\x9F\xD1\x80\xD0\xB8", "UTF-8", "koi8-r", true), "\xF0\xD2\xC9");
}

TEST(IconvRecode, NamesAreTakenInAnyCase) {
    EXPECT_EQ(iconvRecode("\xE9", "iso-8859-1", "utf-8", true), "\xC3\xA9");
    EXPECT_EQ(iconvRecode("a", "us-ascii", "Utf-8", true), "a");
}

TEST(IconvRecode, InvalidByteIsReplacedWhenSkipping) {
    EXPECT_EQ(iconvRecode("\xFF", "UTF-8", "UTF-8", true), "?");
    EXPECT_EQ(iconvRecode("a\xFF\x62", "UTF-8", "UTF-8", true), "a?b");
}

TEST(IconvRecode, InvalidByteFailsWhenNotSkipping) {
    EXPECT_EQ(failure("\xFF", "UTF-8", "UTF-8", false), "Conversion from UTF-8 to UTF-8");
    EXPECT_EQ(failure("abc\xFF", "us-ascii", "UTF-8", false), "Conversion from us-ascii to UTF-8");
}

TEST(IconvRecode, EveryInvalidByteIsReplacedByItself) {
    EXPECT_EQ(iconvRecode("\xFF\xFE\xFF", "UTF-8", "UTF-8", true), "???");
    EXPECT_EQ(iconvRecode("\xE9t\xE9", "US-ASCII", "UTF-8", true), "?t?");
}

TEST(IconvRecode, SecondByteOfAnInvalidSequenceIsConvertedByItself) {
    EXPECT_EQ(iconvRecode("\xC3(", "UTF-8", "UTF-8", true), "?(");
}

TEST(IconvRecode, CharacterUnknownToTheTargetIsReplacedByteByByte) {
    EXPECT_EQ(iconvRecode("a\xC3\xA9z", "UTF-8", "US-ASCII", true), "a??z");
    EXPECT_EQ(failure("a\xC3\xA9z", "UTF-8", "US-ASCII", false),
              "Conversion from UTF-8 to US-ASCII");
}

TEST(IconvRecode, IncompleteSequenceAtTheEndFailsAlsoWhenSkipping) {
    EXPECT_EQ(failure("abc\xC3", "UTF-8", "UTF-8", true), "Conversion from UTF-8 to UTF-8");
    EXPECT_EQ(failure("abc\xE2\x82", "UTF-8", "UTF-8", false), "Conversion from UTF-8 to UTF-8");
    EXPECT_EQ(failure("a", "UTF-16LE", "UTF-8", true), "Conversion from UTF-16LE to UTF-8");
}

TEST(IconvRecode, ResultsAroundThePieceSizeComeBackWhole) {
    for (const std::size_t size : {4095U, 4096U, 4097U, 8191U, 8192U, 8193U, 100000U}) {
        const std::string text(size, 'x');
        EXPECT_EQ(iconvRecode(text, "US-ASCII", "UTF-8", false), text) << size;
    }
}

TEST(IconvRecode, CharactersAcrossThePieceBorderComeBackWhole) {
    for (const std::size_t before : {4092U, 4093U, 4094U, 4095U, 4096U}) {
        const std::string text = std::string(before, 'x') + repeat("\xE2\x82\xAC", 2000);
        EXPECT_EQ(iconvRecode(text, "UTF-8", "UTF-8", false), text) << before;
    }
}

TEST(IconvRecode, InvalidBytesAroundThePieceBorderAreReplaced) {
    for (const std::size_t before : {4094U, 4095U, 4096U, 4097U}) {
        std::string text(before, 'x');
        std::string expected = text;
        text += "\xFF\xFF" + std::string(5000, 'y');
        expected += "??" + std::string(5000, 'y');
        EXPECT_EQ(iconvRecode(text, "UTF-8", "UTF-8", true), expected) << before;
    }
}

TEST(IconvRecode, GrowingAndShrinkingConversions) {
    EXPECT_EQ(iconvRecode(std::string(5000, '\xE9'), "ISO-8859-1", "UTF-8", true),
              repeat("\xC3\xA9", 5000));
    EXPECT_EQ(iconvRecode(repeat("\xC3\xA9", 5000), "UTF-8", "ISO-8859-1", true),
              std::string(5000, '\xE9'));
}

TEST(IconvRecode, ZeroBytesAreBytesLikeOthers) {
    const std::string text("\0a\0", 3);
    EXPECT_EQ(iconvRecode(text, "UTF-8", "UTF-8", false), text);
    EXPECT_EQ(iconvRecode(std::string("a\0b\0", 4), "UTF-16LE", "UTF-8", false), "ab");
}

TEST(IconvRecode, StatefulTargetGetsNoClosingShiftSequence) {
    EXPECT_EQ(iconvRecode("\xE3\x81\x82", "UTF-8", "ISO-2022-JP", true), "\x1B$B$\"");
}

TEST(IconvRecode, StaleErrnoDoesNotCount) {
    for (const int stale : {EILSEQ, EINVAL, ENOENT}) {
        errno = stale;
        EXPECT_EQ(iconvRecode("abc", "US-ASCII", "UTF-8", true), "abc");
    }
}

TEST(IconvRecode, InvalidSequenceReportedAfterTheLastByteEndsTheConversion) {
    EXPECT_EQ(iconvRecode("a\xE9"
                          "b",
                          "US-ASCII", "UTF-8//IGNORE", true),
              "ab");
    EXPECT_EQ(iconvRecode("a\xC3\xA9", "UTF-8", "US-ASCII//IGNORE", true), "a");
    EXPECT_EQ(failure("a\xE9"
                      "b",
                      "US-ASCII", "UTF-8//IGNORE", false),
              "Conversion from US-ASCII to UTF-8//IGNORE");
}

TEST(IconvRecode, SuffixesOfTheSourceAreLeftToTheCLibrary) {
    EXPECT_EQ(iconvRecode("a\xE9", "us-ascii//IGNORE", "UTF-8", true), "a?");
    EXPECT_EQ(iconvRecode("a\xE9", "us-ascii//TRANSLIT", "UTF-8", true), "a?");
}

TEST(IconvRecode, EmptyNameIsTheCharsetOfTheCLocale) {
    EXPECT_EQ(iconvRecode("a\xE9", "", "UTF-8", true), "a?");
}

TEST(IconvRecode, NameEndsAtAZeroByte) {
    const std::string latin1("ISO-8859-1\0x", 12);
    EXPECT_EQ(iconvRecode("\xE9", latin1, "UTF-8", true), "\xC3\xA9");
    EXPECT_EQ(failure("a", std::string("nosuch\0x", 8), "UTF-8", true),
              "Cannot convert from nosuch");
}

TEST(IconvRecode, PathsAreNotCharsets) {
    EXPECT_EQ(failure("a", "../../../tmp/x", "UTF-8", true),
              "Cannot convert from ../../../tmp/x to UTF-8");
    EXPECT_EQ(failure("a", "/tmp/x.so", "UTF-8", true), "Cannot convert from /tmp/x.so to UTF-8");
}

TEST(IconvRecode, LongNamesAreUnknown) {
    const std::string longest = "UTF-8" + std::string(1019, '/');
    EXPECT_EQ(iconvRecode("a", longest, "UTF-8", true), "a");
    EXPECT_EQ(failure("a", longest + "/", "UTF-8", true),
              "Cannot convert from " + longest + "/ to UTF-8");
    EXPECT_EQ(failure("a", "UTF-8", longest + "/", true),
              "Cannot convert from UTF-8 to " + longest + "/");
}

TEST(IconvRecodeInPieces, PiecesAreTheResult) {
    const std::string text = "a\xFF" + repeat("\xE2\x82\xAC", 5000) + "\xFF\xFF";
    std::string result;
    iconvRecode(std::string_view(text), "UTF-8", "UTF-8", true,
                [&result](std::string_view piece) { result += piece; });
    EXPECT_EQ(result, "a?" + repeat("\xE2\x82\xAC", 5000) + "??");
}

TEST(IconvRecodeInPieces, PiecesAreOf4096Bytes) {
    EXPECT_THAT(piece_sizes(std::string(10000, 'x')), testing::ElementsAre(4096, 4096, 1808));
    EXPECT_THAT(piece_sizes(std::string(4096, 'x')), testing::ElementsAre(4096));
    EXPECT_THAT(piece_sizes("x"), testing::ElementsAre(1));
}

TEST(IconvRecodeInPieces, InvalidBytesAreHandedOverTogether) {
    EXPECT_THAT(piece_sizes(std::string(10000, '\xFF')), testing::ElementsAre(4096, 4096, 1808));
    EXPECT_THAT(piece_sizes(repeat("x\xFF", 3000)), testing::ElementsAre(4096, 1904));
}

TEST(IconvRecodeInPieces, EmptyResultIsNoPiece) {
    EXPECT_THAT(piece_sizes(""), testing::IsEmpty());
}

TEST(IconvRecodeInPieces, ThrowsAsTheWholeConversionDoes) {
    const auto ignore = [](std::string_view /*piece*/) {};
    EXPECT_EQ(thrown_text<std::runtime_error>(
                  [&] { iconvRecode("a", "no-such", "UTF-8", true, ignore); }),
              "Cannot convert from no-such to UTF-8");
    EXPECT_EQ(thrown_text<std::runtime_error>(
                  [&] { iconvRecode("a\xFF", "UTF-8", "UTF-16LE", false, ignore); }),
              "Conversion from UTF-8 to UTF-16LE");
}

TEST(IconvRecodeInPieces, ReadsNothingBeyondTheView) {
    const std::string text = "a\xC3\xA9";
    std::string result;
    EXPECT_EQ(thrown_text<std::runtime_error>([&] {
                  iconvRecode(std::string_view(text).substr(0, 2), "UTF-8", "UTF-8", true,
                              [&result](std::string_view piece) { result += piece; });
              }),
              "Conversion from UTF-8 to UTF-8");
}
