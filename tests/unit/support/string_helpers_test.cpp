// SPDX-License-Identifier: Apache-2.0

#include "support/string_helpers.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support/c_pointer.h"
#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"

namespace {

using tolva::CPointer;

std::string trimmed(std::string text) {
    EXPECT_EQ(tolva_trim(text.data()), text.data());
    text.resize(std::strlen(text.data()));
    return text;
}

// The result of strn_replace into a buffer of n bytes, "null: " before it if it was cut.
std::string replaced(std::string source, const char* what, const char* with, unsigned n) {
    std::string buffer(n + 1, '\x7f');
    const char* result = strn_replace(source.data(), buffer.data(), what, with, n);
    EXPECT_EQ(buffer[n], '\x7f');
    EXPECT_TRUE(result == nullptr || result == buffer.data());
    buffer.resize(std::strlen(buffer.data()));
    return (result == nullptr ? "null: " : "") + buffer;
}

TEST(TolvaChch, ReplacesInPlace) {
    char text[] = "a-b--c";
    EXPECT_EQ(tolva_chch(text, nullptr, '-', '_'), text);
    EXPECT_STREQ(text, "a_b__c");
}

TEST(TolvaChch, WritesACopyIfOutIsGiven) {
    char text[] = "a-b--c";
    char out[] = "zzzzzzz";
    EXPECT_EQ(tolva_chch(text, out, '-', '_'), out);
    EXPECT_STREQ(out, "a_b__c");
    EXPECT_STREQ(text, "a-b--c");
}

TEST(TolvaChch, TakesBytesAboveAsciiWithEitherSign) {
    char text[] = "\xe9\xe9";
    tolva_chch(text, nullptr, 0xe9, 'e');
    EXPECT_STREQ(text, "ee");
    tolva_chch(text, nullptr, 'e', static_cast<char>(0xe9));
    EXPECT_STREQ(text, "\xe9\xe9");
}

TEST(TolvaChch, NeverReplacesTheTerminatingZero) {
    char text[] = "ab";
    tolva_chch(text, nullptr, 0, 'x');
    EXPECT_STREQ(text, "ab");
    char empty[] = "";
    EXPECT_STREQ(tolva_chch(empty, nullptr, 'a', 'b'), "");
}

TEST(Strtolower, LowersInPlaceAndReturnsTheString) {
    char text[] = "Example.ORG \xc9 1";
    EXPECT_EQ(strtolower(text), text);
    EXPECT_STREQ(text, "example.org \xc9 1");
}

TEST(StrtolowerDynamic, ReturnsALoweredCopy) {
    const char* text = "Example.ORG";
    const CPointer<char> copy(strtolower_dynamic(text));
    EXPECT_STREQ(copy.get(), "example.org");
    EXPECT_STREQ(text, "Example.ORG");
}

TEST(StrtolowerDynamic, ReturnsNullForNull) {
    EXPECT_EQ(strtolower_dynamic(nullptr), nullptr);
}

TEST(StrtolowerDynamic, ReportsThatThereIsNoMemoryAndReturnsNull) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation failing(1);
        std::printf("%d\n", strtolower_dynamic("Text") == nullptr && errno == ENOMEM);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "System error: Cannot allocate memory\n"
              "\nSystem error 12: Cannot allocate memory\n");
    EXPECT_EQ(run.out, run.err + "1\n");
}

TEST(TolvaTrim, StripsWhiteSpaceAtBothEndsOnly) {
    EXPECT_EQ(trimmed("  a  b  "), "a  b");
    EXPECT_EQ(trimmed("a"), "a");
    EXPECT_EQ(trimmed("a b"), "a b");
    EXPECT_EQ(trimmed("\t\n\v\f\r a \t\n\v\f\r"), "a");
}

TEST(TolvaTrim, LeavesNothingOfWhiteSpaceAlone) {
    EXPECT_EQ(trimmed(""), "");
    EXPECT_EQ(trimmed(" "), "");
    EXPECT_EQ(trimmed(" \t\n "), "");
}

TEST(TolvaTrim, TreatsBytesAboveAsciiAsText) {
    EXPECT_EQ(trimmed(" \xa0\xff\x85 "), "\xa0\xff\x85");
}

TEST(TolvaTrim, ReturnsNullForNull) {
    EXPECT_EQ(tolva_trim(nullptr), nullptr);
}

TEST(StrnReplace, ReplacesEveryOccurrenceFromLeftToRight) {
    EXPECT_EQ(replaced("a.b.c", ".", "--", 20), "a--b--c");
    EXPECT_EQ(replaced("aaa", "aa", "b", 20), "ba");
    EXPECT_EQ(replaced("one two", "two", "one two", 20), "one one two");
    EXPECT_EQ(replaced("abc", "b", "", 20), "ac");
}

TEST(StrnReplace, CopiesATextWithoutOccurrences) {
    EXPECT_EQ(replaced("abc", "x", "y", 20), "abc");
    EXPECT_EQ(replaced("", "x", "y", 20), "");
    EXPECT_EQ(replaced("abc", "", "y", 20), "abc");
}

TEST(StrnReplace, ResultWithItsTerminatorMayFillTheBuffer) {
    EXPECT_EQ(replaced("a.b", ".", "--", 5), "a--b");
    EXPECT_EQ(replaced("a.", ".", "--", 4), "a--");
    EXPECT_EQ(replaced("", ".", "-", 1), "");
}

TEST(StrnReplace, ReportsAResultThatDoesNotFitAndKeepsItsBeginning) {
    const ChildRun run = run_in_child([] {
        std::printf("%s\n", replaced("a.b", ".", "--", 4).c_str());
        std::printf("%d\n", errno == ERANGE);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "strn_replace(): Numerical result out of range\n"
              "\nSystem error 34: Numerical result out of range\n");
    EXPECT_EQ(run.out, run.err + "null: a--\n1\n");
}

TEST(StrnReplace, TerminatesWhereverItCuts) {
    const ChildRun run = run_in_child([] {
        for (unsigned n = 1; n <= 6; ++n) {
            std::fprintf(stderr, "<%s>", replaced("ab.cd", ".", "--", n).c_str());
        }
        std::exit(0);
    });
    EXPECT_EQ(run.status, 0);
    for (const char* cut :
         {"<null: >", "<null: a>", "<null: ab>", "<null: ab->", "<null: ab-->", "<null: ab--c>"}) {
        EXPECT_NE(run.err.find(cut), std::string::npos) << cut;
    }
}

TEST(StrnReplace, WritesNothingToABufferOfNoBytes) {
    const ChildRun run = run_in_child([] {
        char source[] = "";
        char buffer[] = "z";
        note(strn_replace(source, buffer, "a", "b", 0) == nullptr ? "null" : "not null", buffer);
    });
    EXPECT_EQ(run.noted, "null z\n");
}

TEST(Strlcpy, CopiesATextThatFits) {
    char buffer[] = "zzzz";
    EXPECT_EQ(strlcpy(buffer, "abc", 4), 3U);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(strlcpy(buffer, "", 4), 0U);
    EXPECT_STREQ(buffer, "");
}

TEST(Strlcpy, CutsATextThatDoesNotFitAndTerminatesIt) {
    char buffer[] = "zzzz";
    EXPECT_EQ(strlcpy(buffer, "abcdef", 3), 6U);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(buffer[3], 'z');
    EXPECT_EQ(strlcpy(buffer, "abcdef", 1), 6U);
    EXPECT_STREQ(buffer, "");
}

TEST(Strlcpy, WritesNothingWithSizeZero) {
    char buffer[] = "z";
    EXPECT_EQ(strlcpy(buffer, "abc", 0), 3U);
    EXPECT_STREQ(buffer, "z");
}

TEST(AsprintfSafe, FormatsIntoANewString) {
    char* text = nullptr;
    EXPECT_EQ(asprintf_safe(&text, "%s has %d parts", "it", 3), 14);
    const CPointer<char> owner(text);
    EXPECT_STREQ(text, "it has 3 parts");
}

TEST(AsprintfSafe, ReportsFailureAndReturnsMinusOne) {
    const ChildRun run = run_in_child([] {
        const wchar_t unconvertible[] = {static_cast<wchar_t>(0x7fffffff), 0};
        char unset = 'x';
        char* text = &unset;
        const int length = asprintf_safe(&text, "%ls", unconvertible);
        std::printf("%d %d\n", length, text == nullptr);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err,
              "Cannot allocate memory: Invalid or incomplete multibyte or wide character\n"
              "System error 84: Invalid or incomplete multibyte or wide character\n");
    EXPECT_EQ(run.out, run.err + "-1 1\n");
}

TEST(MallocSafe, ReturnsMemoryForSizeZeroToo) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100000}}) {
        const CPointer<char> block(static_cast<char*>(malloc_safe(size)));
        ASSERT_NE(block, nullptr);
        std::memset(block.get(), 'x', size);
    }
}

TEST(MallocSafe, ReportsTheSizeAndEndsTheProcess) {
    const ChildRun run = run_in_child([] {
        const FailingAllocation failing(1);
        const CPointer<char> block(static_cast<char*>(malloc_safe(1234)));
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "alloc(1234)\nSystem error 12: Cannot allocate memory\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(ReallocSafe, ResizesAndKeepsABlockOfSizeZero) {
    char* block = static_cast<char*>(realloc_safe(nullptr, 4));
    std::memcpy(block, "abc", 4);
    block = static_cast<char*>(realloc_safe(block, 100000));
    EXPECT_STREQ(block, "abc");
    block = static_cast<char*>(realloc_safe(block, 0));
    const CPointer<char> owner(block);
    EXPECT_NE(block, nullptr);
}

TEST(ReallocSafe, ReportsTheSizeAndEndsTheProcess) {
    const ChildRun run = run_in_child([] {
        const CPointer<char> block(static_cast<char*>(malloc_safe(1)));
        const FailingAllocation failing(1);
        realloc_safe(block.get(), 99);
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "alloc(99)\nSystem error 12: Cannot allocate memory\n");
    EXPECT_EQ(run.out, run.err);
}

void return_from_end(int status) {
    std::printf("end %d\n", status);
}

TEST(MallocSafe, EndsTheProcessEvenIfTheEndFunctionReturns) {
    const ChildRun run = run_in_child([] {
        messlog_set_end(return_from_end);
        const FailingAllocation failing(1);
        const CPointer<char> block(static_cast<char*>(malloc_safe(1)));
        std::puts("returned");
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "alloc(1)\nSystem error 12: Cannot allocate memory\nend 1\n");
}

TEST(ReallocSafe, EndsTheProcessEvenIfTheEndFunctionReturns) {
    const ChildRun run = run_in_child([] {
        messlog_set_end(return_from_end);
        const CPointer<char> block(static_cast<char*>(malloc_safe(1)));
        const FailingAllocation failing(1);
        realloc_safe(block.get(), 2);
        std::puts("returned");
    });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "alloc(2)\nSystem error 12: Cannot allocate memory\nend 1\n");
}

TEST(CheckUnprocessedParameters, PassesEqualCounts) {
    const ChildRun run = run_in_child([] { check_unprocessed_parameters(3, 3); });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "");
}

TEST(CheckUnprocessedParameters, ReportsDifferentCountsAndExitsWithOne) {
    for (const int used : {2, 4}) {
        const ChildRun run = run_in_child([used] { check_unprocessed_parameters(used, 3); });
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err,
                  "Some parameters in command string leave unprocessed. Check parameters "
                  "please.\n");
        EXPECT_EQ(run.out, run.err);
    }
}

TEST(CheckParameter, PassesAParameterWithAValue) {
    const ChildRun run = run_in_child([] {
        char value[] = "value";
        note(check_parameter(1, value, "name"));
    });
    EXPECT_EQ(run.noted, "0\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "");
}

TEST(CheckParameter, ReportsAMissingOrEmptyParameter) {
    char value[] = "value";
    char empty[] = "";
    struct Case {
        int present;
        char* value;
    };
    for (const Case& c : {Case{0, value}, Case{1, nullptr}, Case{1, empty}, Case{0, nullptr}}) {
        const ChildRun run =
            run_in_child([&c] { note(check_parameter(c.present, c.value, "name")); });
        EXPECT_EQ(run.noted, "-1\n");
        EXPECT_EQ(run.err, "Miss parameter 'name' or previos parameter empty.\n");
        EXPECT_EQ(run.out, run.err);
    }
}

}  // namespace
