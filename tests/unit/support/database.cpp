#include "tests/unit/support/database.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace {

constexpr char kPasswordFile[] = "/etc/tva/.tva.shadow";

testing_support::LibraryFailure failing = testing_support::LibraryFailure::none;

std::string content_of_password_file() {
    std::ifstream file(kPasswordFile);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_password_file(const std::string& content) {
    std::ofstream(kPasswordFile, std::ios::trunc) << content;
}

void set_password(const std::string& password) {
    std::string escaped(2 * password.size() + 1, '\0');
    escaped.resize(mysql_escape_string(escaped.data(), password.data(), password.size()));
    testing_support::execute_as_root("set password for admin@localhost = password('" + escaped +
                                     "')");
}

}  // namespace

extern "C" {

MYSQL* __real_mysql_init(MYSQL* handle);
MYSQL_RES* __real_mysql_store_result(MYSQL* connection);
MYSQL_ROW __real_mysql_fetch_row(MYSQL_RES* result);

MYSQL* __wrap_mysql_init(MYSQL* handle) {
    return failing == testing_support::LibraryFailure::initialisation ? nullptr
                                                                      : __real_mysql_init(handle);
}

MYSQL_RES* __wrap_mysql_store_result(MYSQL* connection) {
    MYSQL_RES* result = __real_mysql_store_result(connection);
    if (failing != testing_support::LibraryFailure::result) {
        return result;
    }
    mysql_free_result(result);
    return nullptr;
}

MYSQL_ROW __wrap_mysql_fetch_row(MYSQL_RES* result) {
    return failing == testing_support::LibraryFailure::row ? nullptr
                                                           : __real_mysql_fetch_row(result);
}
}

namespace testing_support {

void fail_library(LibraryFailure which) {
    failing = which;
}

ChildRun status_beside_world(const std::function<int()>& body) {
    return run_in_child([&body] { end_child(body()); });
}

void end_child(int status) {
    std::fflush(nullptr);
    _exit(status);
}

ConnectionHandle connect_as_root() {
    ConnectionHandle connection(mysql_init(nullptr));
    if (mysql_real_connect(connection.get(), "localhost", "root", "", "tva", 0, nullptr, 0) ==
        nullptr) {
        ADD_FAILURE() << mysql_error(connection.get());
    }
    return connection;
}

void execute_as_root(const std::string& statement) {
    const ConnectionHandle root = connect_as_root();
    if (mysql_query(root.get(), statement.c_str()) != 0) {
        ADD_FAILURE() << statement << ": " << mysql_error(root.get());
    }
}

std::string query(MYSQL* connection, const std::string& statement) {
    if (mysql_query(connection, statement.c_str()) != 0) {
        return mysql_error(connection);
    }
    const tolva::db::ResultHandle result(mysql_store_result(connection));
    MYSQL_ROW row = mysql_fetch_row(result.get());
    if (row == nullptr) {
        return "(none)";
    }
    return row[0] != nullptr ? std::string(row[0], mysql_fetch_lengths(result.get())[0]) : "(null)";
}

std::string query_as_root(const std::string& statement) {
    return query(connect_as_root().get(), statement);
}

PasswordFile::PasswordFile(const std::string& content) : before_(content_of_password_file()) {
    write_password_file(content);
}

PasswordFile::~PasswordFile() {
    write_password_file(before_);
}

AdminPassword::AdminPassword(const std::string& password) {
    set_password(password);
}

AdminPassword::~AdminPassword() {
    const std::string content = content_of_password_file();
    set_password(content.substr(0, content.find('\n')));
}

}  // namespace testing_support
