#pragma once

#include <mysql.h>

#include <functional>
#include <string>

#include "support/db_handle.h"
#include "tests/unit/support/child_run.h"

// The database of the private world, as its administrator sees it.
namespace testing_support {

using connection_handle = tolva::db::connection_handle;

// A connection of the server's root user, who has no password.
connection_handle connect_as_root();

// Sends a statement as root; a failure fails the test.
void execute_as_root(const std::string& statement);

// The first column of the first row, "(null)" for NULL, "(none)" without a row.
std::string query(MYSQL* connection, const std::string& statement);
std::string query_as_root(const std::string& statement);

// Writes the file with the administrator's password and, at the end, its content from before.
class password_file {
  public:
    explicit password_file(const std::string& content);
    password_file(const password_file&) = delete;
    password_file& operator=(const password_file&) = delete;
    ~password_file();

  private:
    std::string before_;
};

// Gives the administrator another password, and at the end the one of the password file again.
class admin_password {
  public:
    explicit admin_password(const std::string& password);
    admin_password(const admin_password&) = delete;
    admin_password& operator=(const admin_password&) = delete;
    ~admin_password();
};

// status_in_child() without exit(3): the world's own connection, which its end would close, is the
// parent's.
ChildRun status_beside_world(const std::function<int()>& body);

// Ends such a child.
[[noreturn]] void end_child(int status);

// The calls of the client library that a real server does not make fail.
enum class library_failure { none, initialisation, result, row };
void fail_library(library_failure which);

}  // namespace testing_support
