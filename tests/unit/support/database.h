// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

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

/// While it lives, the file with the administrator's password is not there.
class MissingPasswordFile {
  public:
    MissingPasswordFile();
    MissingPasswordFile(const MissingPasswordFile&) = delete;
    MissingPasswordFile& operator=(const MissingPasswordFile&) = delete;
    ~MissingPasswordFile();
};

/// While it lives, nothing is at the server's socket; put back by its end or by show().
class HiddenSocket {
  public:
    HiddenSocket();
    HiddenSocket(const HiddenSocket&) = delete;
    HiddenSocket& operator=(const HiddenSocket&) = delete;
    ~HiddenSocket();

    void show() const;
};

/// What mysql_real_connect was called with.
struct ConnectCall {
    std::string host;
    std::string user;
    std::string database;
    unsigned port;
    const char* socket;
    unsigned long flags;
};

/// While it lives, notes the calls of mysql_real_connect, and calls `refused` after the first that
/// fails.
class ConnectWatch {
  public:
    explicit ConnectWatch(std::function<void()> refused = [] {});
    ConnectWatch(const ConnectWatch&) = delete;
    ConnectWatch& operator=(const ConnectWatch&) = delete;
    ~ConnectWatch();

    const std::vector<ConnectCall>& calls() const { return calls_; }

    void note(const ConnectCall& call, bool connected);

  private:
    std::function<void()> refused_;
    std::vector<ConnectCall> calls_;
    bool was_refused_ = false;
};

/// Gives the administrator another password, and at the end that of the password file again: to be
/// made before a PasswordFile.
class AdminPassword {
  public:
    explicit AdminPassword(const std::string& password);
    AdminPassword(const AdminPassword&) = delete;
    AdminPassword& operator=(const AdminPassword&) = delete;
    ~AdminPassword();
};

/// run_in_child() without exit(3): the world's own connection, which its end would close, is the
/// parent's.
ChildRun run_beside_world(const std::function<void()>& body);

/// What the client library and a real server do not do on demand.
enum class LibraryFault {
    kNone,
    kInitialisation,      ///< mysql_init returns null
    kConnectedWithError,  ///< mysql_real_connect succeeds, the handle reports an error number
    kNoResult,            ///< mysql_store_result returns null, without an error number
    kFailedResult,        ///< the same with an error number
    kNoRow,               ///< mysql_fetch_row returns null, without an error number
    kFailedRow,           ///< the same with an error number
    kVersion40,           ///< mysql_fetch_row returns "version" and "4.0.27"
    kNullVersion,         ///< the same with NULL for the version
    kTwoColumns,          ///< the setting mysql41_compatible comes as the second of two columns
    kLostSession,         ///< the connection is killed before the query of the version
};

/// While it lives, calls concerned behave that way: from the nth one on, `times` of them.
class FaultyLibrary {
  public:
    explicit FaultyLibrary(LibraryFault fault, int nth = 1,
                           int times = std::numeric_limits<int>::max());
    FaultyLibrary(const FaultyLibrary&) = delete;
    FaultyLibrary& operator=(const FaultyLibrary&) = delete;
    ~FaultyLibrary();
};

}  // namespace testing_support
