// SPDX-License-Identifier: Apache-2.0

#include "encoding/utf8.h"

#include <locale.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using tolva::utf8_character_length;
using tolva::utf8_lower_case;
using tolva::utf8_prefix;

TEST(Utf8Prefix, OfAShorterTextIsTheText) {
    EXPECT_EQ(utf8_prefix("", 0), "");
    EXPECT_EQ(utf8_prefix("", 10), "");
    EXPECT_EQ(utf8_prefix("abc", 4), "abc");
    EXPECT_EQ(utf8_prefix("abc", 3), "abc");
    EXPECT_EQ(utf8_prefix("ab\xC3", 3), "ab\xC3");
}

TEST(Utf8Prefix, OfALongerTextHasTheMostBytes) {
    EXPECT_EQ(utf8_prefix("abc", 2), "ab");
    EXPECT_EQ(utf8_prefix("abc", 0), "");
    EXPECT_EQ(utf8_prefix("a\0bc"s, 3), "a\0b"s);
}

TEST(Utf8Prefix, IsASliceOfTheText) {
    const std::string text = "abc";
    EXPECT_EQ(utf8_prefix(text, 2).data(), text.data());
}

TEST(Utf8Prefix, CutsNoCharacterInTwo) {
    for (const std::string character : {"\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        const std::string text = "a" + character + "b";
        for (std::size_t most = 1; most <= character.size(); ++most) {
            EXPECT_EQ(utf8_prefix(text, most), "a") << most;
        }
        EXPECT_EQ(utf8_prefix(text, 1 + character.size()), "a" + character);
        EXPECT_EQ(utf8_prefix(character + "b", character.size() - 1), "");
    }
}

TEST(Utf8Prefix, LeavesOutNoBytesThatAreNoCharacter) {
    EXPECT_EQ(utf8_prefix("a\xFF\xFF\xFF", 2), "a\xFF");
    EXPECT_EQ(utf8_prefix("a\xC3zzz", 2), "a\xC3");
    // These would only continue a character, but there is none.
    const std::string continued = "a" + std::string(300, '\x80');
    EXPECT_GE(utf8_prefix(continued, 200).size(), 197U);
    EXPECT_GE(utf8_prefix("abcdefgh\x80\x80", 9).size(), 8U);
}

TEST(Utf8CharacterLength, IsThatOfTheFirstCharacter) {
    EXPECT_EQ(utf8_character_length("a"), 1U);
    EXPECT_EQ(utf8_character_length("ab"), 1U);
    EXPECT_EQ(utf8_character_length("\0"s), 1U);
    EXPECT_EQ(utf8_character_length("\x7F"), 1U);
    EXPECT_EQ(utf8_character_length("\xC3\xBCx"), 2U);
    EXPECT_EQ(utf8_character_length("\xE2\x82\xACx"), 3U);
    EXPECT_EQ(utf8_character_length("\xF0\x9F\x98\x80x"), 4U);
}

TEST(Utf8CharacterLength, CoversAllOfUnicode) {
    EXPECT_EQ(utf8_character_length("\xC2\xA0"), 2U);
    EXPECT_EQ(utf8_character_length("\xDF\xBF"), 2U);
    EXPECT_EQ(utf8_character_length("\xE0\xA0\x80"), 3U);
    EXPECT_EQ(utf8_character_length("\xED\x9F\xBF"), 3U);
    EXPECT_EQ(utf8_character_length("\xEE\x80\x80"), 3U);
    EXPECT_EQ(utf8_character_length("\xEF\xBF\xBF"), 3U);
    EXPECT_EQ(utf8_character_length("\xF0\x90\x80\x80"), 4U);
    EXPECT_EQ(utf8_character_length("\xF4\x8F\xBF\xBF"), 4U);
}

TEST(Utf8CharacterLength, IsZeroWhereThereIsNone) {
    for (const std::string_view text :
         {"\x80", "\xBF", "\xC3", "\xC3x", "\xC3\xC3", "\xE2\x82", "\xE2\x82x", "\xE2x\xAC",
          "\xF0\x9F\x98", "\xF0\x9F\x98x", "\xFF", "\xFE\x80\x80\x80\x80\x80"}) {
        EXPECT_EQ(utf8_character_length(text), 0U) << testing::PrintToString(text);
    }
}

TEST(Utf8CharacterLength, IsZeroForOverlongFormsSurrogatesAndWhatIsBeyondUnicode) {
    for (const std::string_view text : {"\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\x9F\xBF",
                                        "\xF0\x80\x80\xAF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
                                        "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(utf8_character_length(text), 0U) << testing::PrintToString(text);
    }
}

TEST(Utf8CharacterLength, IsZeroForControlCharactersOfIso8859) {
    EXPECT_EQ(utf8_character_length("\xC2\x80"), 0U);
    EXPECT_EQ(utf8_character_length("\xC2\x9B"), 0U);
    EXPECT_EQ(utf8_character_length("\xC2\x9F"), 0U);
}

TEST(Utf8LowerCase, IsThatOfUnicode) {
    EXPECT_EQ(utf8_lower_case("Price 1 EUR"), "price 1 eur");
    EXPECT_EQ(utf8_lower_case("\xD0\xA6\xD0\x95\xD0\x9D\xD0\x90"),  // Cyrillic capitals
              "\xD1\x86\xD0\xB5\xD0\xBD\xD0\xB0");
    EXPECT_EQ(utf8_lower_case("\xC3\x84\xE2\x82\xAC\xF0\x9F\x98\x80"),
              "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Utf8LowerCase, LeavesOtherBytesAlone) {
    EXPECT_EQ(utf8_lower_case("A\xE9Z\xC3"), "a\xE9z\xC3");
    EXPECT_EQ(utf8_lower_case("A\0B"s), "a\0b"s);
    EXPECT_EQ(utf8_lower_case("\xC3Z\xE2\x82Z\x80Z"), "\xC3z\xE2\x82z\x80z");
    EXPECT_EQ(utf8_lower_case(""), "");
}

TEST(Utf8LowerCase, LeavesTheLocaleAlone) {
    const auto before = uselocale(nullptr);
    EXPECT_EQ(utf8_lower_case("\xC3\x84"), "\xC3\xA4");
    EXPECT_EQ(uselocale(nullptr), before);
    EXPECT_EQ(MB_CUR_MAX, 1U);
}

}  // namespace
