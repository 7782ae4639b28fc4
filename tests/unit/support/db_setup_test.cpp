// SPDX-License-Identifier: Apache-2.0

#include "support/db_setup.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support/db_handle.h"
#include "tests/unit/support/database.h"

namespace {

using tolva::db::compatibility_setting;
using tolva::db::has_session_charset;
using tolva::db::is_utf8_wanted;

TEST(DbSession, ServersBefore41HaveNoCharsetOfTheSession) {
    EXPECT_FALSE(has_session_charset("3.23.58"));
    EXPECT_FALSE(has_session_charset("4.0.27"));
    EXPECT_FALSE(has_session_charset("4.0.27-standard-log"));
}

TEST(DbSession, ServersFrom41OnHaveACharsetOfTheSession) {
    EXPECT_TRUE(has_session_charset("4.1.22"));
    EXPECT_TRUE(has_session_charset("5.0.51"));
    EXPECT_TRUE(has_session_charset("10.11.6-MariaDB-0+deb12u1"));
    EXPECT_TRUE(has_session_charset("30.1"));
    EXPECT_TRUE(has_session_charset("4.01"));
    EXPECT_TRUE(has_session_charset(""));
}

TEST(DbSession, Utf8IsWantedBySettingsOtherThanFalse) {
    EXPECT_TRUE(is_utf8_wanted("true"));
    EXPECT_TRUE(is_utf8_wanted("False"));
    EXPECT_TRUE(is_utf8_wanted("false "));
    EXPECT_TRUE(is_utf8_wanted("0"));
}

TEST(DbSession, Utf8IsNotWantedByNoneOrFalse) {
    EXPECT_FALSE(is_utf8_wanted(nullptr));
    EXPECT_FALSE(is_utf8_wanted(""));
    EXPECT_FALSE(is_utf8_wanted("false"));
}

// A result of one query, kept as long as its connection.
class OneResult {
  public:
    explicit OneResult(const std::string& statement)
        : connection_(testing_support::connect_as_root()) {
        EXPECT_EQ(mysql_query(connection_.get(), statement.c_str()), 0);
        result_.reset(mysql_store_result(connection_.get()));
        row_ = mysql_fetch_row(result_.get());
    }
    MYSQL_RES* result() const { return result_.get(); }
    MYSQL_ROW row() const { return row_; }

  private:
    testing_support::ConnectionHandle connection_;
    tolva::db::ResultHandle result_;
    MYSQL_ROW row_;
};

// The slot's content is compared as a pointer here and never read.
TEST(DbSession, TheSecondSlotOfAOneColumnRowPointsPastTheValue) {
    for (const char* statement :
         {"select 'true'", "select ''", "select repeat('x', 300)", "select repeat('x', 70000)"}) {
        const OneResult value(statement);
        EXPECT_EQ(value.row()[1], value.row()[0] + std::strlen(value.row()[0]) + 1) << statement;
    }
}

TEST(DbSession, TheSecondSlotOfAOneColumnNullRowPointsPastTheSlots) {
    const OneResult value("select null");
    EXPECT_EQ(value.row()[0], nullptr);
    EXPECT_EQ(value.row()[1], reinterpret_cast<char*>(value.row() + 2));
}

TEST(DbSession, TheSettingOfAOneColumnRowHasNoText) {
    for (const char* statement :
         {"select 'true'", "select null", "select ''", "select repeat('x', 70000)"}) {
        const OneResult value(statement);
        EXPECT_EQ(compatibility_setting(value.result(), value.row()), nullptr) << statement;
    }
}

TEST(DbSession, TheSettingOfNoRowHasNoText) {
    const OneResult none("select 'true' where false");
    EXPECT_EQ(compatibility_setting(none.result(), none.row()), nullptr);
}

TEST(DbSession, TheSettingIsTheSecondColumnWhereThereIsOne) {
    const OneResult value("select 'mysql41_compatible', 'true'");
    EXPECT_STREQ(compatibility_setting(value.result(), value.row()), "true");
}

}  // namespace
