#pragma once

#include <mysql.h>

#include <functional>
#include <string>

#include "support/db_handle.h"
#include "tests/unit/support/child_run.h"

/// The database of the private world, as its administrator sees it.
namespace testing_support {

using ConnectionHandle = tolva::db::ConnectionHandle;

/// A connection of the server's root user, who has no password.
ConnectionHandle connect_as_root();

/// Sends a statement as root; a failure fails the test.
void execute_as_root(const std::string& statement);

/// The first column of the first row, "(null)" for NULL, "(none)" without a row.
std::string query(MYSQL* connection, const std::string& statement);
std::string query_as_root(const std::string& statement);

/// Writes the file with the administrator's password and, at the end, its content from before.
class PasswordFile {
  public:
    explicit PasswordFile(const std::string& content);
    PasswordFile(const PasswordFile&) = delete;
    PasswordFile& operator=(const PasswordFile&) = delete;
    ~PasswordFile();

  private:
    std::string before_;
};

/// Gives the administrator another password, and at the end the one of the password file again.
class AdminPassword {
  public:
    explicit AdminPassword(const std::string& password);
    AdminPassword(const AdminPassword&) = delete;
    AdminPassword& operator=(const AdminPassword&) = delete;
    ~AdminPassword();
};

/// status_in_child() without exit(3): the world's own connection, which its end would close, is the
/// parent's.
ChildRun status_beside_world(const std::function<int()>& body);

/// Ends such a child.
[[noreturn]] void end_child(int status);

/// The calls of the client library that a real server does not make fail.
enum class LibraryFailure { none, initialisation, result, row };
void fail_library(LibraryFailure which);

}  // namespace testing_support
