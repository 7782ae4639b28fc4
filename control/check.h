// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <ostream>
#include <string>
#include <string_view>

/// The command "check": whether the autoresponder finds all that it needs on this machine.
namespace autoresponder {

class Session;

namespace control {

/// A list of things that were looked at, one line each: "good" and what was found, or "to do" and
/// what to do.
class Checklist {
  public:
    explicit Checklist(std::ostream& out) : out_(out) {}

    void good(std::string_view thing, const std::string& found);
    void to_do(std::string_view thing, const std::string& what);

    [[nodiscard]] bool all_good() const { return all_good_; }

  private:
    std::ostream& out_;
    bool all_good_ = true;
};

/// Prints a line for each thing that it looks at. Returns whether all of them are good.
bool check_installation();

/// Whether the panel's database has what the autoresponder asks it for: tables and columns with
/// what matters in their types, the rights to read and write them, room for the connections.
/// Changes nothing.
void check_database(Checklist& checklist, Session& session);

}  // namespace control
}  // namespace autoresponder
