// SPDX-License-Identifier: Apache-2.0

#include "support/conf_table.h"

#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/conf_table_handle.h"
#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/process_state.h"

namespace {

using Table = tolva::ConfTableHandle;
using tolva::new_conf_table;

// A configuration file with the text given.
class ConfFile {
  public:
    explicit ConfFile(const std::string& text) : path_(testing::TempDir() + "conf-XXXXXX") {
        close(mkstemp(path_.data()));
        std::ofstream(path_, std::ios::binary) << text;
    }
    ~ConfFile() { unlink(path_.c_str()); }
    ConfFile(const ConfFile&) = delete;
    ConfFile& operator=(const ConfFile&) = delete;

    const char* path() const { return path_.c_str(); }

  private:
    std::string path_;
};

// Everything in the table, in its order: name=value and a semicolon each.
std::string contents(const conf_table& table) {
    std::string all;
    for (std::size_t i = 0; i < table.count; ++i) {
        all += std::string(table.entries[i].name) + "=" + table.entries[i].value + ";";
    }
    return all;
}

// What a file with that text defines.
std::string read(const std::string& text) {
    const ConfFile file(text);
    const Table table = new_conf_table();
    EXPECT_EQ(conf_read_file_r(file.path(), table.get()), 0);
    EXPECT_NE(table->sorted, 0);
    return contents(*table);
}

// What reading that file reports, followed by its result and errno.
std::string report(const char* path) {
    const ChildRun run = run_in_child([path] {
        tolva_log_init("console", 12, LOG_USER, 0, "test");
        const Table table = new_conf_table();
        errno = 0;
        const int result = conf_read_file_r(path, table.get());
        const int error = errno;
        tolva_log(12, "%d %d %s", result, result == 0 ? 0 : error, contents(*table).c_str());
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, run.out);
    return run.err;
}

std::string report_on_text(const std::string& text) {
    const ConfFile file(text);
    return report(file.path());
}

TEST(ConfReadFile, CommentAfterAValueIsCutOff) {
    EXPECT_EQ(read("TOLVA_MAILNAMES_D /srv/mail # comment\n"), "TOLVA_MAILNAMES_D=/srv/mail;");
    EXPECT_EQ(read("A b#c\n"), "A=b;");
    EXPECT_EQ(read("A \"b#c\" \\# d\n"), "A=\"b;");
}

TEST(ConfReadFile, TabSeparatesAndTrailingBlanksAreCutOff) {
    EXPECT_EQ(read("TOLVA_MAILNAMES_D\t/srv/mail  \n"), "TOLVA_MAILNAMES_D=/srv/mail;");
    EXPECT_EQ(read(" \t A \t\v\f\r b \t\v\f\r\n"), "A=b;");
}

TEST(ConfReadFile, InnerBlanksStay) {
    EXPECT_EQ(read("A b  c\td\n"), "A=b  c\td;");
}

TEST(ConfReadFile, EmptyLinesAndCommentsAreSkipped) {
    EXPECT_EQ(report_on_text("\n   \n# A b\n \t# C d\nE f\n\r\n"), "0 0 E=f;\n");
    EXPECT_EQ(report_on_text(""), "0 0 \n");
}

TEST(ConfReadFile, LineFeedAtTheEndOfTheFileMayBeMissing) {
    EXPECT_EQ(read("A b"), "A=b;");
    EXPECT_EQ(read("A b\nC d "), "A=b;C=d;");
    EXPECT_EQ(read("A b\n#"), "A=b;");
}

TEST(ConfReadFile, CarriageReturnsAreWhiteSpace) {
    EXPECT_EQ(read("A b\r\nC d\r\n"), "A=b;C=d;");
}

TEST(ConfReadFile, NameWithoutSpaceAfterItIsRejected) {
    EXPECT_EQ(report_on_text("TOLVA_MAILNAMES_D=/srv/mail\nA b\n"),
              "Invalid variable definition TOLVA_MAILNAMES_D=/srv/mail\n\n"
              "Expected a space after variable name\n\n"
              "0 0 A=b;\n");
    EXPECT_EQ(report_on_text(" A# b"),
              "Invalid variable definition A# b\nExpected a space after variable name\n\n0 0 \n");
}

TEST(ConfReadFile, LineThatBeginsWithoutANameIsRejected) {
    EXPECT_EQ(report_on_text(" = b\n"),
              "Invalid variable definition = b\n\nExpected a space after variable name\n\n0 0 \n");
    EXPECT_EQ(report_on_text("\xe9 b"),
              "Invalid variable definition \xe9 b\nExpected a space after variable name\n\n0 0 \n");
}

TEST(ConfReadFile, NameAloneIsRejected) {
    EXPECT_EQ(report_on_text("TOLVA_MAILNAMES_D\n"),
              "Invalid variable definition TOLVA_MAILNAMES_D\n\nExpected a value\n0 0 \n");
    EXPECT_EQ(report_on_text("  TOLVA_MAILNAMES_D"),
              "Invalid variable definition TOLVA_MAILNAMES_D\nExpected a value\n0 0 \n");
    EXPECT_EQ(report_on_text("TOLVA_MAILNAMES_D  "),
              "Invalid variable definition TOLVA_MAILNAMES_D  \nExpected a value\n0 0 \n");
}

TEST(ConfReadFile, NameFollowedOnlyByACommentIsRejected) {
    EXPECT_EQ(report_on_text("TOLVA_MAILNAMES_D # c\n"),
              "Invalid variable definition TOLVA_MAILNAMES_D # c\n\nExpected a value\n0 0 \n");
}

TEST(ConfReadFile, NamesAreLettersDigitsAndUnderscores) {
    EXPECT_EQ(read("_aZ09 b\n9 c\n"), "9=c;_aZ09=b;");
    EXPECT_EQ(
        report_on_text("a-b c\n"),
        "Invalid variable definition a-b c\n\nExpected a space after variable name\n\n0 0 \n");
}

TEST(ConfReadFile, LastDefinitionOfANameCounts) {
    EXPECT_EQ(read("A b\nC d\nA e\n"), "A=e;C=d;");
}

TEST(ConfReadFile, LinesMayBeOfAnyLength) {
    const std::string name(10000, 'n');
    const std::string value(1000000, 'v');
    EXPECT_EQ(read(name + " " + value + "\nA b\n"), "A=b;" + name + "=" + value + ";");
}

TEST(ConfReadFile, ZeroByteEndsALine) {
    using namespace std::string_literals;
    EXPECT_EQ(report_on_text("A b\0c\nD e\n"s), "0 0 A=b;D=e;\n");
    EXPECT_EQ(report_on_text("\0A b\nD e\n"s), "0 0 D=e;\n");
    EXPECT_EQ(report_on_text("A\0 b\nD e\n"s),
              "Invalid variable definition A\nExpected a value\n0 0 D=e;\n");
    EXPECT_EQ(report_on_text("A =\0\0\0"s), "0 0 A==;\n");
}

TEST(ConfReadFile, EntriesAreSortedByName) {
    EXPECT_EQ(read("b 1\na 2\nB 3\n_ 4\nab 5\n"), "B=3;_=4;a=2;ab=5;b=1;");
}

TEST(ConfReadFile, TableGrowsWithTheFile) {
    std::string text;
    std::string expected;
    for (int i = 1000; i < 2000; ++i) {
        text += "N" + std::to_string(i) + " v" + std::to_string(i) + "\n";
        expected += "N" + std::to_string(i) + "=v" + std::to_string(i) + ";";
    }
    EXPECT_EQ(read(text), expected);
}

TEST(ConfReadFile, MissingFileIsReported) {
    const std::string path = testing::TempDir() + "conf-of-no-name/file";
    EXPECT_EQ(report(path.c_str()), "unable to open configuration file " + path +
                                        ": No such file or directory\n\n-1 2 \n");
}

TEST(ConfReadFile, FailureToReadIsReported) {
    const std::string directory = testing::TempDir();
    EXPECT_EQ(report(directory.c_str()),
              "Unable to read configuration file: Is a directory\n-1 21 \n");
}

TEST(ConfReadFile, NothingIsReportedBelowLevelTwelve) {
    const ChildRun run = run_in_child([] {
        tolva_log_init("console", 11, LOG_USER, 0, "test");
        const Table table = new_conf_table();
        note(testing_support::outcome(conf_read_file_r("", table.get())));
    });
    EXPECT_EQ(run.noted, "-1 ENOENT\n");
    EXPECT_EQ(run.err, "");
}

TEST(ConfReadFile, ReadsOverWhatTheTableHolds) {
    const ConfFile first("A b\nC d\n");
    const ConfFile second("C e\nB f\n");
    const Table table = new_conf_table();
    ASSERT_EQ(conf_read_file_r(first.path(), table.get()), 0);
    ASSERT_EQ(conf_read_file_r(second.path(), table.get()), 0);
    EXPECT_EQ(contents(*table), "A=b;B=f;C=e;");
}

// The report of reading a file of two lines when the nth allocation fails.
std::string report_without_memory(int nth) {
    const ConfFile file("A b\nC d\n");
    const ChildRun run = run_in_child([&] {
        tolva_log_init("console", 12, LOG_USER, 0, "test");
        const Table table = new_conf_table();
        const FailingAllocation failing(nth);
        const int result = conf_read_file_r(file.path(), table.get());
        const int error = errno;
        tolva_log(12, "%d %d %s", result, result == 0 ? 0 : error, contents(*table).c_str());
    });
    EXPECT_EQ(run.status, 0);
    return run.err;
}

TEST(ConfReadFile, LackOfMemoryIsReportedWhereverItOccurs) {
    const std::string form = "Unable to form configuration: Cannot allocate memory\n";
    EXPECT_EQ(report_without_memory(1),
              "Unable to read configuration: Cannot allocate memory\n-1 12 \n");
    EXPECT_EQ(report_without_memory(2), form + "-1 12 \n");
    EXPECT_EQ(report_without_memory(3), form + "-1 12 \n");
    EXPECT_EQ(report_without_memory(4), form + "-1 12 A=b;\n");
    EXPECT_EQ(report_without_memory(5), form + "-1 12 A=b;\n");
    EXPECT_EQ(report_without_memory(6), "0 0 A=b;C=d;\n");
}

TEST(ConfReadFile, ClosesTheFileHoweverReadingEnds) {
    const ConfFile file("A b\n");
    const long before = testing_support::open_descriptors();
    const Table table = new_conf_table();
    EXPECT_EQ(conf_read_file_r(file.path(), table.get()), 0);
    EXPECT_EQ(testing_support::open_descriptors(), before);
    EXPECT_EQ(conf_read_file_r(testing::TempDir().c_str(), table.get()), -1);
    EXPECT_EQ(testing_support::open_descriptors(), before);
    {
        const FailingAllocation failing(1);
        EXPECT_EQ(conf_read_file_r(file.path(), table.get()), -1);
    }
    EXPECT_EQ(testing_support::open_descriptors(), before);
}

TEST(ConfInit, NewTableHasRoomForTwentyAndIsSorted) {
    const Table table = new_conf_table();
    EXPECT_EQ(conf_init_r(table.get()), 0);
    EXPECT_NE(table->entries, nullptr);
    EXPECT_EQ(table->capacity, 20U);
    EXPECT_EQ(table->count, 0U);
    EXPECT_NE(table->sorted, 0);
}

TEST(ConfInit, OnlyAFullTableGrowsToTwiceItsCapacity) {
    const Table table = new_conf_table();
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(conf_set_r(std::to_string(i).c_str(), "v", table.get()), 0);
    }
    EXPECT_EQ(table->capacity, 20U);
    EXPECT_EQ(conf_init_r(table.get()), 0);
    EXPECT_EQ(table->capacity, 40U);
    EXPECT_EQ(conf_init_r(table.get()), 0);
    EXPECT_EQ(table->capacity, 40U);
    EXPECT_EQ(table->count, 20U);
}

TEST(ConfInit, GrowsToTwiceTheCapacityOfASmallTableToo) {
    const Table table = new_conf_table();
    ASSERT_EQ(conf_set_r("a", "b", table.get()), 0);
    table->capacity = 1;
    EXPECT_EQ(conf_init_r(table.get()), 0);
    EXPECT_EQ(table->capacity, 2U);
    EXPECT_EQ(contents(*table), "a=b;");
}

TEST(ConfInit, GrowsToTwentyMoreThanItsCountIfDoublingIsNotEnough) {
    const Table table = new_conf_table();
    ASSERT_EQ(conf_set_r("a", "b", table.get()), 0);
    ASSERT_EQ(conf_set_r("c", "d", table.get()), 0);
    for (const size_t capacity : {0U, 1U}) {
        table->capacity = capacity;
        EXPECT_EQ(conf_init_r(table.get()), 0);
        EXPECT_EQ(table->capacity, 22U);
    }
    EXPECT_EQ(contents(*table), "a=b;c=d;");
}

TEST(ConfInit, TableThatCannotGrowStaysAsItWas) {
    const ChildRun run = run_in_child([] {
        tolva_log_init("console", 12, LOG_USER, 0, "test");
        const Table table = new_conf_table();
        conf_set_r("a", "b", table.get());
        table->capacity = 1;
        const FailingAllocation failing(1);
        const int result = conf_set_r("c", "d", table.get());
        const int error = errno;
        tolva_log(12, "%d %d %s %zu", result, error, contents(*table).c_str(), table->capacity);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "Unable to read configuration: Cannot allocate memory\n-1 12 a=b; 1\n");
}

TEST(ConfSet, NewNameGoesToTheEndAndClearsTheSortedFlag) {
    const Table table = new_conf_table();
    EXPECT_EQ(conf_set_r("b", "1", table.get()), 0);
    EXPECT_EQ(conf_set_r("a", "2", table.get()), 0);
    EXPECT_EQ(contents(*table), "b=1;a=2;");
    EXPECT_EQ(table->sorted, 0);
}

TEST(ConfSet, KnownNameGetsTheNewValueAndTheTableStaysSorted) {
    const Table table = new_conf_table();
    conf_set_r("b", "1", table.get());
    conf_set_r("a", "2", table.get());
    conf_finalize_r(table.get());
    EXPECT_EQ(conf_set_r("b", "3", table.get()), 0);
    EXPECT_EQ(contents(*table), "a=2;b=3;");
    EXPECT_NE(table->sorted, 0);
}

TEST(ConfSet, KeepsCopies) {
    std::string name = "name";
    std::string value = "value";
    const Table table = new_conf_table();
    EXPECT_EQ(conf_set_r(name.c_str(), value.c_str(), table.get()), 0);
    name[0] = value[0] = 'x';
    EXPECT_EQ(contents(*table), "name=value;");
}

TEST(ConfGet, FindsEveryNameInSortedAndUnsortedTables) {
    const Table table = new_conf_table();
    EXPECT_EQ(conf_get_r("1", table.get()), nullptr);
    for (int i = 99; i >= 0; --i) {
        conf_set_r(std::to_string(i).c_str(), ("v" + std::to_string(i)).c_str(), table.get());
    }
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = 0; i < 100; ++i) {
            EXPECT_STREQ(conf_get_r(std::to_string(i).c_str(), table.get()),
                         ("v" + std::to_string(i)).c_str());
        }
        for (const char* name : {"", "100", "05", "999"}) {
            EXPECT_EQ(conf_get_r(name, table.get()), nullptr) << name;
        }
        conf_finalize_r(table.get());
    }
}

TEST(ConfGet, SearchesASortedTableByHalves) {
    const Table table = new_conf_table();
    for (const char* name : {"b", "c", "a"}) {
        conf_set_r(name, "v", table.get());
    }
    EXPECT_STREQ(conf_get_r("a", table.get()), "v");
    table->sorted = 1;  // which it is not
    EXPECT_EQ(conf_get_r("a", table.get()), nullptr);
}

TEST(ConfFinalize, SortsAnEmptyTable) {
    const Table table = new_conf_table();
    conf_finalize_r(table.get());
    EXPECT_EQ(table->count, 0U);
    EXPECT_NE(table->sorted, 0);
}

TEST(ConfFree, TakesNullAndATableWithoutEntries) {
    conf_free_r(nullptr);
    const Table table = new_conf_table();
    EXPECT_EQ(table->entries, nullptr);
}

TEST(CmpConf, ComparesNamesBytewise) {
    char a[] = "a";
    char b[] = "b";
    char high[] = "\xe9";
    const conf_entry first{a, b};
    const conf_entry second{b, a};
    const conf_entry third{high, a};
    EXPECT_LT(cmp_conf(&first, &second), 0);
    EXPECT_GT(cmp_conf(&second, &first), 0);
    EXPECT_EQ(cmp_conf(&first, &first), 0);
    EXPECT_LT(cmp_conf(&second, &third), 0);
}

}  // namespace
