// SPDX-License-Identifier: Apache-2.0

#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <mimelib/string.h>

#include "tests/unit/mimelib/heap_use.h"

namespace {

TEST(DwString, HoldsZeroBytes) {
    const DwString text("a\0b", 3);
    EXPECT_EQ(text.length(), 3U);
    EXPECT_EQ(text[1], '\0');
    EXPECT_EQ(std::string(text.data(), text.size()), std::string("a\0b", 3));
}

TEST(DwString, EmptyStringsHaveData) {
    EXPECT_TRUE(DwString().empty());
    EXPECT_NE(DwString().data(), nullptr);
    EXPECT_STREQ(DwString().c_str(), "");
    EXPECT_TRUE(DwString(nullptr, 0).empty());
    EXPECT_TRUE(DwString(static_cast<const char*>(nullptr)).empty());
}

TEST(DwString, CopiesAndSubstringsShareOneBuffer) {
    const DwString text("0123456789");
    const DwString copy(text);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.data(), text.data());
    EXPECT_EQ(text.substr(3, 4).data(), text.data() + 3);
    EXPECT_EQ(text.substr(3, 4), DwString("3456"));
    EXPECT_EQ(text.substr(3, 4).substr(1, 2).data(), text.data() + 4);
}

TEST(DwString, SubstringsEndWithTheString) {
    const DwString text("0123456789");
    EXPECT_EQ(text.substr(7, DwString::npos), DwString("789"));
    EXPECT_EQ(text.substr(7), DwString("789"));
    EXPECT_TRUE(text.substr(10, 1).empty());
    EXPECT_TRUE(text.substr(11, 1).empty());
    EXPECT_EQ(text.substr(2, 4).substr(1), DwString("345"));
}

TEST(DwString, AnEmptySubstringKeepsNothingOfTheString) {
    const DwString text("0123456789");
    EXPECT_EQ(text.substr(10).data(), DwString().data());
    EXPECT_EQ(text.substr(3, 0).data(), DwString().data());
}

TEST(DwString, CStrOfAnEndingSliceSharesTheBuffer) {
    const DwString text("0123456789");
    EXPECT_EQ(text.substr(5).c_str(), text.data() + 5);
    EXPECT_STREQ(text.substr(5).c_str(), "56789");
}

TEST(DwString, CStrOfAMiddleSliceLeavesTheOthersAlone) {
    const DwString text("0123456789");
    const DwString middle = text.substr(2, 3);
    EXPECT_STREQ(middle.c_str(), "234");
    EXPECT_EQ(middle, DwString("234"));
    EXPECT_EQ(text, DwString("0123456789"));
}

TEST(DwString, CStrLeavesDataWhereItIs) {
    DwString text("0123456789");
    const char* const data = text.data();
    const DwString middle = text.substr(2, 3);
    EXPECT_STREQ(middle.c_str(), "234");
    EXPECT_EQ(middle.data(), data + 2);
    text = text.substr(3, 4);
    EXPECT_STREQ(text.c_str(), "3456");
    EXPECT_EQ(text.data(), data + 3);
}

TEST(DwString, CStrStaysUntilTheStringIsChanged) {
    DwString text("0123456789");
    const DwString middle = text.substr(2, 3);
    const char* const c_str = middle.c_str();
    EXPECT_STREQ(text.substr(5, 2).c_str(), "56");
    text += DwString("x");
    text = DwString();
    EXPECT_STREQ(c_str, "234");
}

TEST(DwString, AskingForCStrAgainTakesNoMoreMemory) {
    const DwString text("0123456789");
    const DwString middle = text.substr(2, 3);
    const char* const c_str = middle.c_str();
    const HeapUse heap;
    EXPECT_EQ(middle.c_str(), c_str);
    EXPECT_EQ(heap.requests(), 0U);
}

TEST(DwString, WhatCStrCopiesGoesWithTheString) {
    constexpr std::size_t length = 10000;
    const std::string bytes(length, 'x');
    const HeapUse heap;
    for (int i = 0; i < 20; ++i) {
        const DwString text(bytes.data(), bytes.size());
        text.substr(0, length - 1).c_str();
        text.substr(0, length - 2).c_str();
    }
    EXPECT_LT(heap.peak(), 5 * length);
}

TEST(DwString, CStrOfASliceInFrontOfAZeroByteIsNoCopy) {
    const DwString text("ab\0cd", 5);
    EXPECT_EQ(text.substr(0, 2).c_str(), text.data());
    EXPECT_STREQ(text.substr(0, 2).c_str(), "ab");
}

TEST(DwString, AppendingChangesNoOtherString) {
    DwString text("ab");
    const DwString copy(text);  // NOLINT(performance-unnecessary-copy-initialization)
    const DwString slice = text.substr(0, 1);
    text += DwString("cd");
    EXPECT_EQ(text, DwString("abcd"));
    EXPECT_EQ(copy, DwString("ab"));
    EXPECT_EQ(slice, DwString("a"));
}

TEST(DwString, AppendingToASliceOverwritesNothing) {
    const DwString text("0123456789");
    DwString slice = text.substr(2, 3);
    slice += DwString("x");
    EXPECT_EQ(slice, DwString("234x"));
    EXPECT_EQ(text, DwString("0123456789"));
}

TEST(DwString, AppendingToTheRestOfAStringFindsRoomAfterIt) {
    DwString text(std::string(10000, 'x').c_str());
    text = text.substr(9997);
    text += DwString("abc");
    // In what the buffer has given back, if anything.
    const std::vector<std::string> neighbours(40, std::string(500, 'y'));
    EXPECT_EQ(text, DwString("xxxabc"));
}

TEST(DwString, AppendingEndsTheStringWhereItIs) {
    DwString text("0123456789");
    text = text.substr(0, 3);
    text += DwString("x");
    EXPECT_STREQ(text.c_str(), "012x");
    EXPECT_EQ(text.c_str(), text.data());
}

TEST(DwString, AppendsItselfAndSlicesOfItself) {
    DwString text("ab");
    text += text;
    text += text.substr(1, 2);
    EXPECT_EQ(text, DwString("ababba"));
    EXPECT_STREQ(text.c_str(), "ababba");
}

TEST(DwString, AppendingToAnEmptyStringSharesTheOther) {
    const DwString other("abc");
    DwString text;
    text += other;
    EXPECT_EQ(text.data(), other.data());
    text += DwString();
    EXPECT_EQ(text.data(), other.data());
}

TEST(DwString, AppendingKeepsEveryByte) {
    DwString text;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        const std::string chunk(1 + static_cast<std::size_t>(i % 7),
                                static_cast<char>('a' + i % 26));
        text += DwString(chunk.data(), chunk.size());
        expected += chunk;
    }
    EXPECT_EQ(std::string(text.data(), text.length()), expected);
}

TEST(DwString, AppendingAsksForMemoryOnlyNowAndThen) {
    const DwString chunk("abcdefg");
    DwString text;
    const HeapUse heap;
    for (int i = 0; i < 100000; ++i) {
        text += chunk;
    }
    EXPECT_EQ(text.length(), 700000U);
    EXPECT_LT(heap.requests(), 60U);
}

TEST(DwString, AssignmentSharesAndKeepsItself) {
    DwString text("abc");
    DwString other;
    other = text;
    EXPECT_EQ(other.data(), text.data());
    const DwString& same = text;
    text = same;
    EXPECT_EQ(text, DwString("abc"));
    text = text.substr(1);
    EXPECT_EQ(text, DwString("bc"));
    other = std::move(text);
    EXPECT_EQ(other, DwString("bc"));
}

TEST(DwString, ComparesLengthAndBytes) {
    EXPECT_TRUE(DwString("ab") == DwString("ab"));
    EXPECT_TRUE(DwString("ab") != DwString("abc"));
    EXPECT_TRUE(DwString("a\0b", 3) != DwString("a\0c", 3));
    EXPECT_TRUE(DwString() == DwString(""));
}

TEST(DwString, ImpossibleLengthsThrowBadAlloc) {
    EXPECT_THROW(DwString("", DwString::npos), std::bad_alloc);
}

}  // namespace
