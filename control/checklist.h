#pragma once

#include <ostream>
#include <string>
#include <string_view>

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
