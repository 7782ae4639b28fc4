// SPDX-License-Identifier: Apache-2.0

#pragma once

// The private world's database, as its superuser sees it.

#include <mysql.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using Row = std::vector<std::optional<std::string>>;  // a NULL column holds no value

class Database {
  public:
    // Connects to the private server and has it log every statement; throws std::runtime_error.
    Database();

    // Runs one statement and returns its rows, none if it yields none; throws std::runtime_error
    // with the server's error text.
    std::vector<Row> sql(const std::string& statement);

    // Empties the panel's tables and the log of statements, brings back tables that were moved
    // away, and lifts the limit of allow_statements.
    void reset();

    // The part of it that brings back tables that were moved away, in place of views of them.
    void restore_tables();

    // The panel's user "admin" may send this many more statements; later ones fail with
    // "User 'admin' has exceeded the 'max_queries_per_hour' resource (current value: N)".
    // 0 lifts the limit.
    void allow_statements(int number);

    // The statements that "admin" has sent since the reset, without those that set up the session.
    std::vector<std::string> statements();

    // Shuts the server down, calls `meanwhile`, and starts it again.
    void restart(const std::function<void()>& meanwhile);

    // `text` as a literal of SQL, quotes included.
    std::string quoted(const std::string& text);

  private:
    void connect();

    std::unique_ptr<MYSQL, void (*)(MYSQL*)> connection_;
};
