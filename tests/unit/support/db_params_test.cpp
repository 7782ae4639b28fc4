// SPDX-License-Identifier: Apache-2.0

#include "support/db_params.h"

#include <cerrno>
#include <functional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/c_pointer.h"
#include "support/db.h"
#include "support/db_handle.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::execute_as_root;
using testing_support::FaultyLibrary;
using testing_support::LibraryFault;
using testing_support::MissingPasswordFile;
using testing_support::open_descriptors;
using testing_support::PasswordFile;
using testing_support::query_as_root;
using testing_support::run_beside_world;
using tolva::db::ConnectionHandle;

constexpr char kRefused[] =
    "Unable to connect to Tolva Database: Access denied for user 'admin'@'localhost' (using "
    "password: YES)\n";

// What the panel's other tools may do with its parameters; the autoresponder only reads those of
// misc.
constexpr const char* kFurtherRights[] = {
    "insert (param, val), delete on tva.misc", "select (dom_id, param), delete on tva.dom_param",
    "select (id, parameter, value), delete on tva.Parameters"};

class DbParams : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        for (const std::string rights : kFurtherRights) {
            execute_as_root("grant " + rights + " to admin@localhost");
        }
        connection_.reset(db_connect());
        ASSERT_NE(connection_, nullptr);
    }

    void TearDown() override {
        for (const std::string rights : kFurtherRights) {
            execute_as_root("revoke " + rights + " from admin@localhost");
        }
    }

    MYSQL* connection() const { return connection_.get(); }

  private:
    ConnectionHandle connection_;
};

using GetParam = DbParams;
using PutParam = DbParams;
using DelParam = DbParams;
using EscapeMysqlParam = DbParams;

void note_value(const char* value) {
    note(value != nullptr ? value : "(null)");
}

TEST_F(GetParam, ReturnsTheValueOfThatName) {
    execute_as_root("insert into misc values('admin_email', 'admin@example.com')");
    EXPECT_STREQ(get_param("admin_email", connection()), "admin@example.com");
}

TEST_F(GetParam, AnUnknownNameYieldsEmptyText) {
    EXPECT_STREQ(get_param("unknown", connection()), "");
}

TEST_F(GetParam, ANullValueYieldsEmptyText) {
    execute_as_root("insert into misc values('nothing', null)");
    EXPECT_STREQ(get_param("nothing", connection()), "");
}

TEST_F(GetParam, ASecondCallOverwritesTheValueOfTheFirst) {
    execute_as_root("insert into misc values('one', 'first'), ('two', 'second')");
    const char* first = get_param("one", connection());
    const char* second = get_param("two", connection());
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "second");
    get_param("unknown", connection());
    EXPECT_STREQ(first, "");
}

TEST_F(GetParam, TheValueOfTheLastCallMayBeTheNameOfTheNext) {
    execute_as_root("insert into misc values('one', 'two'), ('two', 'end')");
    EXPECT_STREQ(get_param(get_param("one", connection()), connection()), "end");
}

TEST_F(GetParam, AValueIsCutTo4095Bytes) {
    execute_as_root("insert into misc values('long', repeat('x', 5000))");
    EXPECT_EQ(get_param("long", connection()), std::string(4095, 'x'));
    execute_as_root("update misc set val = repeat('y', 4095)");
    EXPECT_EQ(get_param("long", connection()), std::string(4095, 'y'));
}

TEST_F(GetParam, MakesAConnectionOfItsOwnAndClosesIt) {
    execute_as_root("insert into misc values('name', 'value')");
    const long before = open_descriptors();
    EXPECT_STREQ(get_param("name", nullptr), "value");
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(GetParam, AFailedConnectionYieldsNull) {
    const ChildRun run = run_beside_world([] {
        const PasswordFile file("wrong\n");
        note_value(get_param("name", nullptr));
    });
    EXPECT_EQ(run.noted, "(null)\n");
    EXPECT_EQ(run.err, std::string(kRefused) + "Unable to connect to the mysql database\n");
    EXPECT_EQ(run.out, run.err);
}

TEST_F(GetParam, AFailedQueryYieldsNull) {
    lose_table("misc");
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        errno = EIO;
        note_value(get_param("name", own.get()));
    });
    EXPECT_EQ(run.noted, "(null)\n");
    EXPECT_EQ(run.err,
              "Unable to query parameter by query select val from misc where param='name': "
              "Table 'tva.misc' doesn't exist\n");
    EXPECT_EQ(run.out, run.err);
}

TEST_F(GetParam, ALostConnectionYieldsNull) {
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        execute_as_root("kill " + testing_support::query(own.get(), "select connection_id()"));
        note_value(get_param("name", own.get()));
    });
    EXPECT_EQ(run.noted, "(null)\n");
    EXPECT_EQ(run.err.find("Unable to query parameter by query select val from misc where "
                           "param='name': "),
              0U);
}

TEST_F(GetParam, AQueryThatHasToBeCutFails) {
    const std::string name(5000, 'x');
    const ChildRun run = run_beside_world([&name] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        note_value(get_param(name.c_str(), own.get()));
    });
    EXPECT_EQ(run.noted, "(null)\n");
    const std::string query = ("select val from misc where param='" + name).substr(0, 4095);
    EXPECT_EQ(run.err.find("Unable to query parameter by query " + query + ": "), 0U);
}

TEST_F(GetParam, TheKeyIsNotEscaped) {
    execute_as_root("insert into misc values('name', 'value')");
    EXPECT_STREQ(get_param("' or param='name", connection()), "value");
}

TEST_F(GetParam, SimpleTakesAnyTableAndColumns) {
    execute_as_root("insert into dom_param values(7, 'quota', '100')");
    EXPECT_STREQ(get_param_simple("quota", "dom_param", "param", "dom_id", connection()), "7");
}

TEST_F(GetParam, QueryTakesTheFirstColumnOfTheFirstRow) {
    EXPECT_STREQ(get_param_query("select 'a', 'b' union select 'c', 'd'", connection()), "a");
}

TEST_F(GetParam, AResultThatFailsToBeStoredYieldsNull) {
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        const FaultyLibrary library(LibraryFault::kFailedResult);
        note_value(get_param("name", own.get()));
    });
    EXPECT_EQ(run.noted, "(null)\n");
    EXPECT_TRUE(
        run.err.starts_with("Unable to query parameter by query select val from misc where "
                            "param='name': You have an error"))
        << run.err;
}

TEST_F(GetParam, AQueryWithoutAResultYieldsEmptyText) {
    EXPECT_STREQ(get_param_query("do 1", connection()), "");
}

std::string escape(MYSQL* connection, const char* text) {
    const tolva::CPointer<char> escaped(escape_mysql_param(connection, text));
    return escaped != nullptr ? escaped.get() : "(null)";
}

TEST_F(EscapeMysqlParam, EscapesForAStringLiteral) {
    EXPECT_EQ(escape(connection(), "it's \"a\" \\ test\n\r\x1a"),
              "it\\'s \\\"a\\\" \\\\ test\\n\\r\\Z");
    EXPECT_EQ(escape(connection(), "plain"), "plain");
    EXPECT_EQ(escape(connection(), ""), "");
}

TEST_F(EscapeMysqlParam, MayDoubleTheLength) {
    EXPECT_EQ(escape(connection(), std::string(3000, '\'').c_str()).size(), 6000U);
}

TEST_F(EscapeMysqlParam, NullTextYieldsNull) {
    EXPECT_EQ(escape_mysql_param(connection(), nullptr), nullptr);
}

TEST_F(EscapeMysqlParam, NoMemoryYieldsNull) {
    const FailingAllocation memory(1);
    EXPECT_EQ(escape_mysql_param(connection(), "text"), nullptr);
    EXPECT_EQ(errno, ENOMEM);
}

std::string value_of(const char* name) {
    return query_as_root(std::string("select val from misc where param='") + name + "'");
}

TEST_F(PutParam, SetsAndReplacesAValue) {
    EXPECT_EQ(put_param("name", "one", connection()), 0);
    EXPECT_EQ(value_of("name"), "one");
    EXPECT_EQ(put_param("name", "two", connection()), 0);
    EXPECT_EQ(value_of("name"), "two");
    EXPECT_EQ(query_as_root("select count(*) from misc"), "1");
}

TEST_F(PutParam, EscapesTheValue) {
    EXPECT_EQ(put_param("name", "it's '); drop \\ \"", connection()), 0);
    EXPECT_EQ(value_of("name"), "it's '); drop \\ \"");
}

TEST_F(PutParam, TakesAValueOfAnyLength) {
    const std::string value(20000, '\'');
    EXPECT_EQ(put_param("name", value.c_str(), connection()), 0);
    EXPECT_EQ(value_of("name"), value);
}

TEST_F(PutParam, AnEmptyValueIsEmptyAndANullValueTheDefault) {
    EXPECT_EQ(put_param("name", "", connection()), 0);
    EXPECT_EQ(value_of("name"), "");
    EXPECT_EQ(put_param("name", nullptr, connection()), 0);
    EXPECT_EQ(value_of("name"), "(null)");
}

TEST_F(PutParam, MakesAConnectionOfItsOwnAndClosesIt) {
    const long before = open_descriptors();
    EXPECT_EQ(put_param("name", "value", nullptr), 0);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(value_of("name"), "value");
}

TEST_F(PutParam, TheNameIsNotEscaped) {
    EXPECT_EQ(put_param("one'), ('two", nullptr, connection()), 0);
    EXPECT_EQ(put_param("three', 'value'), ('four", "", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(param order by param) from misc"),
              "four,one,three,two");
}

TEST_F(PutParam, AFailedConnectionIsReported) {
    const ChildRun run = run_beside_world([] {
        const PasswordFile file("wrong\n");
        note(put_param("name", "value", nullptr));
    });
    EXPECT_EQ(run.noted, "-1\n");
    EXPECT_EQ(run.err, std::string(kRefused) + "Unable to connect to mysql database\n");
}

TEST_F(PutParam, AFailedStatementIsReported) {
    lose_table("misc");
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        errno = EIO;
        note(put_param("name", "value", own.get()));
    });
    EXPECT_EQ(run.noted, "-1\n");
    EXPECT_EQ(run.err, "Unable to put parameter name into misc: Table 'tva.misc' doesn't exist\n");
    EXPECT_EQ(run.out, run.err);
}

// A call whose allocation of that number fails: returns -1 with ENOMEM and says so.
void expect_no_memory(int allocation, const char* table, const std::function<int(MYSQL*)>& call) {
    const ChildRun run = run_beside_world([&] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        errno = EIO;
        const FailingAllocation memory(allocation);
        note(testing_support::outcome(call(own.get())));
    });
    EXPECT_EQ(run.noted, "-1 ENOMEM\n");
    const std::string expected =
        std::string(" parameter some-parameter ") + table +
        ": Cannot allocate memory\nSystem error 12: Cannot allocate memory\n";
    EXPECT_THAT(run.err, testing::EndsWith(expected));
}

TEST_F(PutParam, NoMemoryForTheStatementIsReported) {
    const std::string name = "some-parameter";
    const auto put = [&](MYSQL* own) { return put_param(name.c_str(), "some-value", own); };
    const auto put_null = [&](MYSQL* own) { return put_param(name.c_str(), nullptr, own); };
    expect_no_memory(1, "into misc", put);
    expect_no_memory(2, "into misc", put);
    expect_no_memory(1, "into misc", put_null);
}

TEST_F(DelParam, NoMemoryForTheStatementIsReported) {
    const char* name = "some-parameter";
    const auto del = [&](MYSQL* own) { return del_param(name, own); };
    const auto del_dom = [&](MYSQL* own) { return del_dom_param("1", name, own); };
    const auto del_value = [&](MYSQL* own) { return del_Parameter("1", name, "value", own); };
    expect_no_memory(1, "from misc", del);
    expect_no_memory(1, "from dom_param", del_dom);
    expect_no_memory(1, "from Parameters", del_value);
    expect_no_memory(2, "from Parameters", del_value);
}

TEST_F(DelParam, DeletesTheParameterOfThatName) {
    execute_as_root("insert into misc values('one', '1'), ('two', '2')");
    EXPECT_EQ(del_param("one", connection()), 0);
    EXPECT_EQ(value_of("one"), "(none)");
    EXPECT_EQ(value_of("two"), "2");
    EXPECT_EQ(del_param("one", connection()), 0);
}

TEST_F(DelParam, DomParamDeletesOfOneDomain) {
    execute_as_root(
        "insert into dom_param values(1, 'name', ''), (2, 'name', ''), (1, 'other', '')");
    EXPECT_EQ(del_dom_param("1", "name", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(dom_id, param order by dom_id) from dom_param"),
              "1other,2name");
}

TEST_F(DelParam, ParameterDeletesOneValue) {
    execute_as_root("insert into Parameters values(1, 'name', 'it\\'s'), (1, 'name', 'other')");
    EXPECT_EQ(del_Parameter("1", "name", "it's", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(value) from Parameters"), "other");
}

TEST_F(DelParam, ParameterWithoutAValueDeletesAll) {
    execute_as_root(
        "insert into Parameters values(1, 'name', 'a'), (1, 'name', 'b'), (1, 'other', 'c'), "
        "(2, 'name', 'd')");
    EXPECT_EQ(del_Parameter("1", "name", nullptr, connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(value order by value) from Parameters"), "c,d");
}

TEST_F(DelParam, MakesAConnectionOfItsOwnAndClosesIt) {
    execute_as_root("insert into misc values('name', 'value')");
    const long before = open_descriptors();
    EXPECT_EQ(del_param("name", nullptr), 0);
    EXPECT_EQ(del_dom_param("1", "name", nullptr), 0);
    EXPECT_EQ(del_Parameter("1", "name", "value", nullptr), 0);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(value_of("name"), "(none)");
}

TEST_F(DelParam, NamesAndIdsAreNotEscaped) {
    execute_as_root("insert into misc values('name', ''), ('other', '')");
    EXPECT_EQ(del_param("' or param='name", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(param) from misc"), "other");

    execute_as_root("insert into dom_param values(1, 'a', ''), (2, 'b', ''), (3, 'c', '')");
    EXPECT_EQ(del_dom_param("0' or dom_id='1", "a", connection()), 0);
    EXPECT_EQ(del_dom_param("0", "' or param='b", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(param) from dom_param"), "c");

    execute_as_root(
        "insert into Parameters values(1, 'a', 'x'), (2, 'b', 'x'), (3, 'c', 'x'), (4, 'd', 'x')");
    EXPECT_EQ(del_Parameter("0' or id='1", "a", nullptr, connection()), 0);
    EXPECT_EQ(del_Parameter("0", "' or parameter='b", nullptr, connection()), 0);
    EXPECT_EQ(del_Parameter("3", "' or parameter='c", "x", connection()), 0);
    EXPECT_EQ(query_as_root("select group_concat(parameter) from Parameters"), "d");
}

TEST_F(DelParam, AFailedConnectionIsReported) {
    const ChildRun run = run_beside_world([] {
        const PasswordFile file("wrong\n");
        note(del_param("name", nullptr));
        note(del_dom_param("1", "name", nullptr));
        note(del_Parameter("1", "name", nullptr, nullptr));
    });
    EXPECT_EQ(run.noted, "-1\n-1\n-1\n");
    const std::string once = std::string(kRefused) + "Unable to connect to mysql database\n";
    EXPECT_EQ(run.err, once + once + once);
}

TEST_F(DelParam, AFailedStatementIsReported) {
    lose_table("misc");
    lose_table("dom_param");
    lose_table("Parameters");
    const ChildRun run = run_beside_world([] {
        const ConnectionHandle own(tolva_db_connect_raw(nullptr, 0));
        note(del_param("name", own.get()));
        note(del_dom_param("1", "name", own.get()));
        note(del_Parameter("1", "name", "value", own.get()));
    });
    EXPECT_EQ(run.noted, "-1\n-1\n-1\n");
    EXPECT_EQ(run.err,
              "Unable to delete parameter name from misc: Table 'tva.misc' doesn't exist\n"
              "Unable to delete parameter name from dom_param: "
              "Table 'tva.dom_param' doesn't exist\n"
              "Unable to delete parameter name from Parameters: "
              "Table 'tva.Parameters' doesn't exist\n");
}

TEST_F(DbParams, AConnectionOfItsOwnIsClosedAfterAFailedStatement) {
    const ChildRun run = run_beside_world([] {
        const char* quote = "'";
        const long before = open_descriptors();
        note_value(get_param(quote, nullptr));
        note(put_param(quote, "value", nullptr), del_param(quote, nullptr));
        note(del_dom_param("1", quote, nullptr), del_Parameter("1", quote, "value", nullptr));
        note("descriptors:", open_descriptors() - before);
    });
    EXPECT_EQ(run.noted, "(null)\n-1 -1\n-1 -1\ndescriptors: 0\n");
}

// A pending error of the system shows it.
TEST_F(PutParam, TheTextWithoutAConnectionHasNoLineFeedOfItsOwn) {
    const MissingPasswordFile missing;
    const ChildRun put = run_beside_world([] { put_param("name", "value", nullptr); });
    const ChildRun deleted = run_beside_world([] { del_param("name", nullptr); });
    const std::string error = "\nSystem error 2: No such file or directory\n";
    const std::string reason =
        "Unable to open admin password file: No such file or directory" + error;
    EXPECT_EQ(put.err, reason + "Unable to connect to mysql database" + error);
    EXPECT_EQ(deleted.err, reason + "Unable to connect to mysql database\n" + error);
}

}  // namespace
