// SPDX-License-Identifier: Apache-2.0

#include "tests/system/database.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

constexpr const char* kTables[] = {"mail",      "domains",      "mail_aliases", "domainaliases",
                                   "mail_resp", "resp_freq",    "resp_attach",  "clients",
                                   "misc",      "resp_forward", "dom_param",    "Parameters"};

// Removed by the server when it has closed its files.
constexpr const char* kProcessFile = "/world/mariadb.pid";

using Result = std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)>;

}  // namespace

Database::Database() : connection_(nullptr, mysql_close) {
    connect();
}

void Database::connect() {
    connection_.reset(mysql_init(nullptr));
    if (connection_ == nullptr || mysql_real_connect(connection_.get(), "localhost", "root", "",
                                                     "tva", 0, nullptr, 0) == nullptr) {
        throw std::runtime_error("no private database server");
    }
    sql("set names utf8mb4");
    sql("set global log_output = 'TABLE'");
    sql("set global general_log = on");
}

void Database::restart(const std::function<void()>& meanwhile) {
    sql("shutdown");
    while (std::filesystem::exists(kProcessFile)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    meanwhile();
    const std::string launcher = std::getenv("PRIVATE_WORLD");
    if (std::system((launcher + " --launch-server").c_str()) != 0) {
        throw std::runtime_error("the private database server does not start again");
    }
    connect();
}

std::vector<Row> Database::sql(const std::string& statement) {
    if (mysql_real_query(connection_.get(), statement.data(), statement.size()) != 0) {
        throw std::runtime_error(mysql_error(connection_.get()) + (": " + statement));
    }
    const Result result(mysql_store_result(connection_.get()), mysql_free_result);
    std::vector<Row> rows;
    if (result == nullptr) {
        return rows;
    }
    while (const MYSQL_ROW fields = mysql_fetch_row(result.get())) {
        const unsigned long* lengths = mysql_fetch_lengths(result.get());
        Row row;
        for (unsigned i = 0; i < mysql_num_fields(result.get()); ++i) {
            row.push_back(fields[i] == nullptr
                              ? std::nullopt
                              : std::optional<std::string>(std::in_place, fields[i], lengths[i]));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

void Database::restore_tables() {
    for (const Row& view : sql("show full tables where table_type = 'VIEW'")) {
        sql("drop view " + view[0].value());
    }
    for (const Row& moved : sql("show tables like '%\\_moved'")) {
        const std::string name = moved[0].value();
        sql("rename table " + name + " to " + name.substr(0, name.size() - 6));
    }
}

void Database::reset() {
    allow_statements(0);
    restore_tables();
    for (const char* table : kTables) {
        sql(std::string("delete from ") + table);
    }
    sql("truncate table mysql.general_log");
}

void Database::allow_statements(int number) {
    sql("grant usage on *.* to admin@localhost with max_queries_per_hour " +
        std::to_string(number));
    sql("flush user_resources");
}

std::vector<std::string> Database::statements() {
    std::vector<std::string> sent;
    bool set_up = false;
    for (const Row& row : sql("select argument from mysql.general_log "
                              "where user_host like 'admin%' and command_type='Query'")) {
        const std::string& statement = row[0].value();
        set_up = set_up || statement == "set foreign_key_checks=0";
        if (!set_up) {
            sent.push_back(statement);
        }
        set_up = set_up && !statement.starts_with("SET NAMES ");
    }
    return sent;
}

std::string Database::quoted(const std::string& text) {
    std::string escaped(2 * text.size() + 1, '\0');
    escaped.resize(
        mysql_real_escape_string(connection_.get(), escaped.data(), text.data(), text.size()));
    return "'" + escaped + "'";
}
