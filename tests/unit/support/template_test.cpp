// SPDX-License-Identifier: Apache-2.0

#include "support/template.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/template_reference.h"

namespace {

int comparisons = 0;

}  // namespace

extern "C" {
int __real_strcmp(const char* left, const char* right);

int __wrap_strcmp(const char* left, const char* right) {
    ++comparisons;
    return __real_strcmp(left, right);
}
}

namespace {

constexpr int kStop = TEMPL_STOP_BEFORE_VALUE;
constexpr int kKeep = TEMPL_KEEP_UNKNOWN;
constexpr std::size_t kRoomy = 200;

const std::string kName32(32, 'n');
const std::string kName33(33, 'n');

const std::vector<par_templ>& table() {
    static const std::vector<par_templ> entries{{" ", "blank"},
                                                {"<name", "opened"},
                                                {"name", "value"},
                                                {kName32.c_str(), "longest"},
                                                {kName33.c_str(), "too long"},
                                                {"nothing", nullptr},
                                                {"syntax", "<name>"},
                                                {"void", ""}};
    return entries;
}

// The output of templ_replace with "<" and ">", followed by its counters: consumed, written,
// result flags; then whether the output is terminated.
std::string replace(std::string_view source, std::size_t size = kRoomy, int flags = 0) {
    const TemplateResult result = actual_replace('<', '>', table(), source, size, flags);
    EXPECT_EQ(result.control.input_flags, flags);
    EXPECT_EQ(result, reference_replace('<', '>', table(), source, size, flags));
    return result.output + "|" + std::to_string(result.control.source_consumed) + " " +
           std::to_string(result.control.output_length) + " " +
           std::to_string(result.control.result_flags) + (result.terminated ? "" : " open");
}

TEST(ReplCtl, IsFourIntegersOf32Bits) {
    static_assert(std::is_same_v<decltype(repl_ctl::source_consumed), std::int32_t>);
    static_assert(sizeof(repl_ctl) == 16);
    static_assert(offsetof(repl_ctl, output_length) == 4);
    static_assert(offsetof(repl_ctl, input_flags) == 8);
    static_assert(offsetof(repl_ctl, result_flags) == 12);
    static_assert(TEMPL_STOP_BEFORE_VALUE == 1 && TEMPL_KEEP_UNKNOWN == 2);
    static_assert(TEMPL_STOPPED_BEFORE_VALUE == 1 && TEMPL_KEPT_UNKNOWN == 2);
}

TEST(TemplReplace, KnownPlaceholderBetweenWordsBecomesItsValue) {
    EXPECT_EQ(replace("one <name> two"), "one value two|14 13 0");
    EXPECT_EQ(replace("<name>"), "value|6 5 0");
    EXPECT_EQ(replace("<name><name>x"), "valuevaluex|13 11 0");
}

TEST(TemplReplace, TextWithoutPlaceholdersIsCopied) {
    EXPECT_EQ(replace("text > more"), "text > more|11 11 0");
}

TEST(TemplReplace, EmptyBracketPairStaysLiteral) {
    EXPECT_EQ(replace("a<>b"), "a<>b|4 4 0");
    EXPECT_EQ(replace("<><name>"), "<>value|8 7 0");
    EXPECT_EQ(replace("a<>b", kRoomy, kKeep), "a<>b|4 4 0");
}

TEST(TemplReplace, BracketPairAroundASpaceLooksUpASpace) {
    EXPECT_EQ(replace("a< >b"), "ablankb|5 7 0");
}

TEST(TemplReplace, NullValueDisappears) {
    EXPECT_EQ(replace("a<nothing>b"), "ab|11 2 0");
    EXPECT_EQ(replace("a<void>b"), "ab|8 2 0");
    EXPECT_EQ(replace("<nothing>"), "|9 0 0");
    EXPECT_EQ(replace("a<nothing>", 1), "a|10 1 0 open");
}

TEST(TemplReplace, UnknownNameIsRemovedWithoutFlags) {
    EXPECT_EQ(replace("a<other>b"), "ab|9 2 0");
    EXPECT_EQ(replace("<other>", 1), "|7 0 0");
}

TEST(TemplReplace, UnknownNameIsKeptWithFlagTwo) {
    EXPECT_EQ(replace("a<other>b", kRoomy, kKeep), "a<other>b|9 9 2");
    EXPECT_EQ(replace("<other><name>", kRoomy, kKeep), "<other>value|13 12 2");
    EXPECT_EQ(replace("<name>", kRoomy, kKeep), "value|6 5 0");
}

TEST(TemplReplace, NameOf32CharactersIsAPlaceholderAndOneOf33IsNot) {
    EXPECT_EQ(replace("<" + kName32 + ">"), "longest|34 7 0");
    const std::string longer = "<" + kName33 + ">";
    EXPECT_EQ(replace(longer), longer + "|35 35 0");
    EXPECT_EQ(replace(longer, kRoomy, kKeep), longer + "|35 35 0");
}

TEST(TemplReplace, NothingThatWasLookedAtOpensAPlaceholder) {
    EXPECT_EQ(replace("<<other>", kRoomy, kKeep), "<<other>|8 8 2");
    EXPECT_EQ(replace("<<other>"), "|8 0 0");
    EXPECT_EQ(replace("<<name>"), "opened|7 6 0");
    const std::string inside = "<" + std::string(20, 'x') + "<" + std::string(12, 'y') + "name>";
    EXPECT_EQ(replace(inside), inside + "|39 39 0");
    const std::string longer = "<" + std::string(33, 'x');
    EXPECT_EQ(replace(longer + "<name>"), longer + "value|40 39 0");
    const std::string last = "<" + std::string(32, 'x') + "<";
    EXPECT_EQ(replace(last + "name>"), last + "name>|39 39 0");
}

TEST(TemplReplace, OpeningCharacterAtTheEndIsLiteral) {
    EXPECT_EQ(replace("a<"), "a<|2 2 0");
    EXPECT_EQ(replace("<"), "<|1 1 0");
    EXPECT_EQ(replace("a<name"), "a<name|6 6 0");
    EXPECT_EQ(replace("<name><na"), "value<na|9 8 0");
}

TEST(TemplReplace, ValuesAreNotSearched) {
    EXPECT_EQ(replace("<syntax>"), "<name>|8 6 0");
}

TEST(TemplReplace, DelimitersMayBeTheSameOrAnyCharacter) {
    const auto replace_with = [](char opening, char closing, std::string_view source) {
        const TemplateResult result = actual_replace(opening, closing, table(), source, kRoomy, 0);
        EXPECT_EQ(result, reference_replace(opening, closing, table(), source, kRoomy, 0));
        return result.output;
    };
    EXPECT_EQ(replace_with('%', '%', "a%name%b%%c"), "avalueb%%c");
    EXPECT_EQ(replace_with('\xab', '\xbb', "\xabname\xbb<name>"), "value<name>");
    EXPECT_EQ(replace_with('\0', '>', "<name>"), "<name>");
    EXPECT_EQ(replace_with('<', '\0', "<name"), "<name");
}

TEST(TemplReplace, OutputExactlyAsLongAsSizeIsCompleteButNotTerminated) {
    EXPECT_EQ(replace("text", 4), "text|4 4 0 open");
    EXPECT_EQ(replace("a<name>b", 7), "avalueb|8 7 0 open");
    EXPECT_EQ(replace("text", 5), "text|4 4 0");
}

TEST(TemplReplace, ValueThatEndsOnSizeIsTerminatedAfterIt) {
    EXPECT_EQ(replace("a<name>", 6), "avalue|7 6 0");
    EXPECT_EQ(replace("a<name>", 6, kStop), "avalue|7 6 0");
}

TEST(TemplReplace, LiteralAtTheEndIsCutAtSize) {
    EXPECT_EQ(replace("text", 3), "tex|3 3 0 open");
    EXPECT_EQ(replace("<name>text", 7), "valuete|8 7 0 open");
    EXPECT_EQ(replace("<name>text", 5), "value|6 5 0");
}

TEST(TemplReplace, LiteralBeforeAPlaceholderIsCutAtSize) {
    EXPECT_EQ(replace("text<name>", 3), "tex|3 3 0 open");
    EXPECT_EQ(replace("text<other>", 3), "tex|3 3 0 open");
    EXPECT_EQ(replace("text<name>", 3, kStop), "tex|3 3 0 open");
    EXPECT_EQ(replace("<other>text<name>", 3, kKeep), "<ot|3 3 2 open");
    EXPECT_EQ(replace("text<name><other>", 3, kKeep), "tex|3 3 0 open");
}

TEST(TemplReplace, ValueIsCutAtSizeAndItsWholePlaceholderConsumed) {
    EXPECT_EQ(replace("a<name>b", 4), "aval|7 4 0 open");
    EXPECT_EQ(replace("a<name>b", 5), "avalu|7 5 0 open");
    EXPECT_EQ(replace("text<name>b", 4), "text|10 4 0 open");
}

TEST(TemplReplace, FlagOneStopsBeforeAValueThatDoesNotFit) {
    EXPECT_EQ(replace("ab<name>c", 6, kStop), "ab|2 2 1 open");
    EXPECT_EQ(replace("<name>c", 4, kStop), "|0 0 1");
    EXPECT_EQ(replace("<name><name>", 9, kStop), "value|6 5 1");
    EXPECT_EQ(replace("ab<name>c", 7, kStop), "abvalue|8 7 0");
}

TEST(TemplReplace, FlagsCombine) {
    EXPECT_EQ(replace("<other><name>", 8, kStop | kKeep), "<other>|7 7 3 open");
    EXPECT_EQ(replace("<name><other>", 3, kStop | kKeep), "|0 0 1");
    EXPECT_EQ(replace("<other>", kRoomy, kStop), "|7 0 0");
}

TEST(TemplReplace, OtherBitsOfTheFlagsAreLeftAlone) {
    EXPECT_EQ(replace("<other>a", kRoomy, ~(kStop | kKeep)), "a|8 1 0");
}

TEST(TemplReplace, RestOfAStoppedSourceCanBeReplacedNext) {
    const std::string source = "a<name>b<name>c";
    std::string all;
    std::size_t at = 0;
    while (at < source.size()) {
        const TemplateResult result =
            actual_replace('<', '>', table(), source.substr(at), 6, kStop);
        ASSERT_GT(result.control.source_consumed, 0);
        at += static_cast<std::size_t>(result.control.source_consumed);
        all += result.output;
    }
    EXPECT_EQ(all, "avaluebvaluec");
}

TEST(TemplReplace, SizeZeroYieldsTheEmptyText) {
    EXPECT_EQ(replace("<name>", 0), "|0 0 0");
}

TEST(TemplReplace, EmptySourceYieldsTheEmptyText) {
    EXPECT_EQ(replace(""), "|0 0 0");
}

TEST(TemplReplace, NullSourceYieldsTheEmptyText) {
    char destination[] = "zz";
    repl_ctl control{9, 9, kStop | kKeep, 9};
    EXPECT_EQ(
        templ_replace('<', '>', table().data(), table().size(), nullptr, destination, 2, &control),
        destination);
    EXPECT_STREQ(destination, "");
    EXPECT_EQ(control.source_consumed, 0);
    EXPECT_EQ(control.output_length, 0);
    EXPECT_EQ(control.input_flags, kStop | kKeep);
    EXPECT_EQ(control.result_flags, 0);
}

TEST(TemplReplace, CountZeroYieldsTheEmptyTextEvenWithoutPlaceholders) {
    char destination[] = "zz";
    repl_ctl control{9, 9, kKeep, 9};
    templ_replace('<', '>', table().data(), 0, "a", destination, 2, &control);
    EXPECT_STREQ(destination, "");
    EXPECT_EQ(control.source_consumed, 0);
    EXPECT_EQ(control.output_length, 0);
    EXPECT_EQ(control.result_flags, 0);
}

TEST(TemplReplace, NullTableWithACountMakesEveryNameUnknown) {
    for (const int flags : {0, kKeep}) {
        std::array<char, 32> destination{};
        repl_ctl control{0, 0, flags, 0};
        templ_replace('<', '>', nullptr, 5, "a<name>b", destination.data(), 31, &control);
        EXPECT_STREQ(destination.data(), flags == 0 ? "ab" : "a<name>b");
        EXPECT_EQ(control.source_consumed, 8);
        EXPECT_EQ(control.result_flags, flags);
    }
}

TEST(TemplReplace, AgreesWithTheReferenceOnRandomTexts) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts in every run
    const auto below = [&random](std::size_t bound) { return random() % bound; };
    const std::array<std::string, 10> words{"<",       ">",      "<name>",    "<other>",
                                            "<<name>", "<void>", "<nothing>", "<" + kName32 + ">",
                                            "a",       kName33};
    for (int i = 0; i < 20000; ++i) {
        std::string source;
        for (std::size_t length = below(8); length > 0; --length) {
            source += words[below(words.size())];
        }
        const std::size_t size = below(source.size() + 10);
        const int flags = static_cast<int>(below(4));
        ASSERT_EQ(actual_replace('<', '>', table(), source, size, flags),
                  reference_replace('<', '>', table(), source, size, flags))
            << source << " " << size << " " << flags;
    }
}

TEST(Template, UsesNoHeap) {
    const std::string source = "<other><name><" + kName32 + ">";
    std::array<par_templ, 3> entries{{{kName32.c_str(), "longest"}, {"name", "value"}, {"a", "b"}}};
    std::array<char, kRoomy + 1> destination{};
    repl_ctl control{0, 0, 0, 0};
    int found = -1;
    {
        const FailingAllocation memory(1);
        templ_quick_sort(entries.data(), 3);
        templ_replace('<', '>', entries.data(), 3, source.c_str(), destination.data(), kRoomy,
                      &control);
        found = templ_found(kName32.c_str(), entries.data(), 3);
    }
    EXPECT_STREQ(destination.data(), "valuelongest");
    EXPECT_EQ(found, 2);
}

TEST(TemplFound, FindsEveryEntryOfASortedTable) {
    for (std::size_t count = 1; count <= table().size(); ++count) {
        for (std::size_t i = 0; i < table().size(); ++i) {
            EXPECT_EQ(templ_found(table()[i].name, table().data(), static_cast<int>(count)),
                      i < count ? static_cast<int>(i) : -1);
        }
    }
}

TEST(TemplFound, ReturnsMinusOneForNamesThatAreNotThere) {
    const int count = static_cast<int>(table().size());
    for (const char* name : {"", "!", "a", "nam", "namee", "zzz", "\xff"}) {
        EXPECT_EQ(templ_found(name, table().data(), count), -1) << name;
        EXPECT_EQ(templ_found(name, table().data(), 1), -1) << name;
    }
}

TEST(TemplFound, ReturnsMinusOneForNullAndForNoEntries) {
    EXPECT_EQ(templ_found(nullptr, table().data(), 1), -1);
    EXPECT_EQ(templ_found("name", nullptr, 3), -1);
    EXPECT_EQ(templ_found(" ", table().data(), 0), -1);
    EXPECT_EQ(templ_found(" ", table().data(), -1), -1);
}

TEST(TemplFound, UnsortedTableMakesNamesUnfindableUntilItIsSorted) {
    std::array<par_templ, 3> entries{{{"c", "3"}, {"b", "2"}, {"a", "1"}}};
    EXPECT_EQ(templ_found("a", entries.data(), 3), -1);
    EXPECT_EQ(templ_found("c", entries.data(), 3), -1);
    templ_quick_sort(entries.data(), 3);
    EXPECT_EQ(templ_found("a", entries.data(), 3), 0);
    EXPECT_EQ(templ_found("c", entries.data(), 3), 2);
}

TEST(TemplQuickSort, SortsWholeRecordsBytewiseByName) {
    std::array<par_templ, 5> entries{
        {{"b", "1"}, {"\xe9", "2"}, {"ab", nullptr}, {"B", "4"}, {"a", "5"}}};
    templ_quick_sort(entries.data(), 5);
    std::string sorted;
    for (const par_templ& entry : entries) {
        sorted += std::string(entry.name) + (entry.value != nullptr ? entry.value : "-");
    }
    EXPECT_EQ(sorted,
              "B4a5ab-b1\xe9"
              "2");
}

TEST(TemplQuickSort, CountBelowOneDoesNothing) {
    std::array<par_templ, 2> entries{{{"b", "1"}, {"a", "2"}}};
    templ_quick_sort(entries.data(), 0);
    templ_quick_sort(entries.data(), -1);
    EXPECT_STREQ(entries[0].name, "b");
    templ_quick_sort(nullptr, 0);
    templ_quick_sort(entries.data(), 1);
    EXPECT_STREQ(entries[0].name, "b");
}

TEST(TemplQuickSort, SortsEveryOrderOfSomeNames) {
    std::vector<const char*> names{"", "a", "b", "b", "c", "cc", "d"};
    do {
        std::vector<par_templ> entries(names.size());
        std::transform(names.begin(), names.end(), entries.begin(), [](const char* name) {
            return par_templ{name, name};
        });
        templ_quick_sort(entries.data(), static_cast<int>(entries.size()));
        std::string sorted;
        for (const par_templ& entry : entries) {
            ASSERT_EQ(entry.name, entry.value);
            sorted += std::string(entry.name) + ",";
        }
        ASSERT_EQ(sorted, ",a,b,b,c,cc,d,");
    } while (std::next_permutation(names.begin(), names.end()));
}

TEST(TemplQuickSort, SortsManyEntriesInAnyArrangement) {
    std::vector<std::string> names(5000);
    for (std::size_t i = 0; i < names.size(); ++i) {
        names[i] = std::to_string(i * 7919 % 3000);
    }
    for (int arrangement = 0; arrangement < 4; ++arrangement) {
        if (arrangement == 1) {
            std::sort(names.begin(), names.end());
        } else if (arrangement == 2) {
            std::reverse(names.begin(), names.end());
        } else if (arrangement == 3) {
            std::fill(names.begin(), names.end(), "same");
        }
        std::vector<par_templ> entries(names.size());
        std::transform(names.begin(), names.end(), entries.begin(), [](const std::string& name) {
            return par_templ{name.c_str(), nullptr};
        });
        templ_quick_sort(entries.data(), static_cast<int>(entries.size()));
        EXPECT_TRUE(std::is_sorted(entries.begin(), entries.end(),
                                   [](const par_templ& left, const par_templ& right) {
                                       return std::strcmp(left.name, right.name) < 0;
                                   }));
    }
}

// With its first or last element as the pivot, a sorted table takes a comparison for each pair.
TEST(TemplQuickSort, TakesFewComparisonsOfASortedTable) {
    constexpr int entry_count = 1024;
    std::vector<std::string> names(entry_count);
    std::vector<par_templ> entries(entry_count);
    for (std::size_t i = 0; i < entry_count; ++i) {
        names[i] = std::to_string(1000 + i);
        entries[i] = {names[i].c_str(), nullptr};
    }
    comparisons = 0;
    templ_quick_sort(entries.data(), entry_count);
    EXPECT_GT(comparisons, entry_count);
    EXPECT_LT(comparisons, 20 * entry_count);
}

TEST(Qs, SortsOnlyTheRangeGiven) {
    std::array<par_templ, 5> entries{
        {{"e", nullptr}, {"d", nullptr}, {"c", nullptr}, {"b", nullptr}, {"a", nullptr}}};
    qs(entries.data(), 1, 3);
    std::string order;
    for (const par_templ& entry : entries) {
        order += entry.name;
    }
    EXPECT_EQ(order, "ebcda");
    qs(entries.data(), 2, 2);
    EXPECT_STREQ(entries[2].name, "c");
}

}  // namespace
