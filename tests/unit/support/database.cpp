// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/database.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

namespace {

constexpr char kPasswordFile[] = "/etc/tva/.tva.shadow";
constexpr char kElsewhere[] = "/etc/tva/elsewhere";

using testing_support::LibraryFault;

LibraryFault fault = LibraryFault::kNone;
int until_fault = 0;
int faults_left = 0;
MYSQL* last_connection = nullptr;  // of which a result was stored
testing_support::ConnectWatch* watch = nullptr;

// Whether this call has the fault.
bool is_due(LibraryFault wanted) {
    return fault == wanted && --until_fault <= 0 && faults_left-- > 0;
}

std::string content_of_password_file() {
    std::ifstream file(kPasswordFile);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string socket_path() {
    const char* path = std::getenv("MYSQL_UNIX_PORT");
    return path != nullptr ? path : "";
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
MYSQL* __real_mysql_real_connect(MYSQL* connection, const char* host, const char* user,
                                 const char* password, const char* database, unsigned port,
                                 const char* socket, unsigned long flags);
int __real_mysql_real_query(MYSQL* connection, const char* statement, unsigned long length);
MYSQL_RES* __real_mysql_store_result(MYSQL* connection);
MYSQL_ROW __real_mysql_fetch_row(MYSQL_RES* result);
}

namespace {

// Has the handle report an error number.
void set_error(MYSQL* connection) {
    constexpr std::string_view statement = "no statement";
    __real_mysql_real_query(connection, statement.data(), statement.size());
}

}  // namespace

extern "C" {

MYSQL* __wrap_mysql_init(MYSQL* handle) {
    return is_due(LibraryFault::kInitialisation) ? nullptr : __real_mysql_init(handle);
}

MYSQL* __wrap_mysql_real_connect(MYSQL* connection, const char* host, const char* user,
                                 const char* password, const char* database, unsigned port,
                                 const char* socket, unsigned long flags) {
    MYSQL* connected =
        __real_mysql_real_connect(connection, host, user, password, database, port, socket, flags);
    if (watch != nullptr && user == std::string_view("admin")) {
        watch->note({host, user, database, port, socket, flags}, connected != nullptr);
    }
    if (connected != nullptr && is_due(LibraryFault::kConnectedWithError)) {
        set_error(connected);
    }
    return connected;
}

int __wrap_mysql_real_query(MYSQL* connection, const char* text, unsigned long length) {
    const std::string_view statement(text, length);
    if (statement.starts_with("SHOW VARIABLES") && is_due(LibraryFault::kLostSession)) {
        testing_support::execute_as_root("kill " + std::to_string(mysql_thread_id(connection)));
    }
    const bool setting = statement.starts_with("SELECT val FROM misc");
    const bool two = setting && is_due(LibraryFault::kTwoColumns);
    const std::string_view sent = two ? "select 'mysql41_compatible', 'true'" : statement;
    return __real_mysql_real_query(connection, sent.data(), sent.size());
}

MYSQL_RES* __wrap_mysql_store_result(MYSQL* connection) {
    last_connection = connection;
    MYSQL_RES* result = __real_mysql_store_result(connection);
    const bool failed = is_due(LibraryFault::kFailedResult);
    if (!failed && !is_due(LibraryFault::kNoResult)) {
        return result;
    }
    mysql_free_result(result);
    if (failed) {
        set_error(connection);
    }
    return nullptr;
}

MYSQL_ROW __wrap_mysql_fetch_row(MYSQL_RES* result) {
    static char name[] = "version";
    static char version[] = "4.0.27";
    static char* version_row[] = {name, version};
    static char* null_row[] = {name, nullptr};
    if (is_due(LibraryFault::kVersion40)) {
        return version_row;
    }
    if (is_due(LibraryFault::kNullVersion)) {
        return null_row;
    }
    if (is_due(LibraryFault::kNoRow)) {
        return nullptr;
    }
    if (is_due(LibraryFault::kFailedRow)) {
        set_error(last_connection);
        return nullptr;
    }
    return __real_mysql_fetch_row(result);
}
}

namespace testing_support {

FaultyLibrary::FaultyLibrary(LibraryFault wanted, int nth, int times) {
    fault = wanted;
    until_fault = nth;
    faults_left = times;
}

FaultyLibrary::~FaultyLibrary() {
    fault = LibraryFault::kNone;
}

ChildRun run_beside_world(const std::function<void()>& body) {
    return run_in_child([&body] {
        body();
        std::fflush(nullptr);
        _exit(0);
    });
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

MissingPasswordFile::MissingPasswordFile() {
    std::filesystem::rename(kPasswordFile, kElsewhere);
}

MissingPasswordFile::~MissingPasswordFile() {
    std::filesystem::rename(kElsewhere, kPasswordFile);
}

HiddenSocket::HiddenSocket() {
    std::filesystem::rename(socket_path(), socket_path() + ".hidden");
}

HiddenSocket::~HiddenSocket() {
    show();
}

void HiddenSocket::show() const {
    if (std::filesystem::exists(socket_path() + ".hidden")) {
        std::filesystem::rename(socket_path() + ".hidden", socket_path());
    }
}

ConnectWatch::ConnectWatch(std::function<void()> refused) : refused_(std::move(refused)) {
    watch = this;
}

ConnectWatch::~ConnectWatch() {
    watch = nullptr;
}

void ConnectWatch::note(const ConnectCall& call, bool connected) {
    calls_.push_back(call);
    if (!connected && !std::exchange(was_refused_, true)) {
        refused_();
    }
}

AdminPassword::AdminPassword(const std::string& password) {
    set_password(password);
}

AdminPassword::~AdminPassword() {
    const std::string content = content_of_password_file();
    set_password(content.substr(0, content.find('\n')));
}

}  // namespace testing_support
