// SPDX-License-Identifier: Apache-2.0

#include "encoding/loaded_charsets.h"

#include <link.h>

#include <cstddef>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"
#include "tests/unit/encoding/test_texts.h"

using tolva::iconvRecode;
using tolva::LoadedCharsets;

namespace {

// How many files the dynamic linker has loaded so far, including those unloaded since.
unsigned long long files_loaded() {
    unsigned long long count = 0;
    const auto take_count = [](dl_phdr_info* info, std::size_t /*size*/, void* result) {
        *static_cast<unsigned long long*>(result) = info->dlpi_adds;
        return 1;
    };
    dl_iterate_phdr(take_count, &count);
    return count;
}

// Charsets of one file each.
constexpr const char* kCharsets[] = {"ISO-8859-2", "ISO-8859-3", "ISO-8859-4", "ISO-8859-5",
                                     "ISO-8859-6", "ISO-8859-7", "ISO-8859-8", "ISO-8859-9"};

// Uses so many other charsets that the C library unloads KOI8-U unless it is kept, and returns how
// many files the next use of KOI8-U loads.
unsigned long long loads_of_koi8_u() {
    for (const char* charset : kCharsets) {
        iconvRecode("a", charset, "UTF-8", true);
    }
    const auto before = files_loaded();
    iconvRecode("a", "KOI8-U", "UTF-8", true);
    return files_loaded() - before;
}

}  // namespace

TEST(LoadedCharsets, CharsetIsKeptWhileTheObjectLives) {
    {
        LoadedCharsets charsets;
        charsets.keep("KOI8-U");
        EXPECT_EQ(loads_of_koi8_u(), 0U);
    }
    EXPECT_EQ(loads_of_koi8_u(), 1U);
}

TEST(LoadedCharsets, NoMoreThan4096NamesAreKept) {
    LoadedCharsets charsets;
    charsets.keep("KOI8-U");
    for (int i = 1; i < 4096; ++i) {
        charsets.keep("x" + std::to_string(i));
    }
    EXPECT_EQ(loads_of_koi8_u(), 0U);
    charsets.keep("x4095");
    EXPECT_EQ(loads_of_koi8_u(), 0U);
    charsets.keep("x4096");
    EXPECT_EQ(loads_of_koi8_u(), 1U);
}

TEST(LoadedCharsets, UnknownCharsetIsNoFailure) {
    LoadedCharsets charsets;
    charsets.keep("no-such");
    charsets.keep(std::string(2000, 'x'));
    charsets.keep("");
}

TEST(LoadedCharsets, FieldBodyLoadsEveryCharsetOnce) {
    std::string text;
    for (const char* charset : kCharsets) {
        text += std::string("=?") + charset + "?Q?a?= ";
    }
    const auto before = files_loaded();
    EXPECT_EQ(tolva::rfc1522::decode(repeat(text, 100) + "x"),
              std::string(100 * std::size(kCharsets), 'a') + " x");
    EXPECT_LE(files_loaded() - before, std::size(kCharsets));
}
