// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>

namespace tolva {

/// Collects the lines that decoding one text writes to standard error: hostile text earns a
/// complaint for every byte, and a write for each would cost more than all the rest.
///
/// Lines reach standard error whole and in order, up to 64 KiB of them in one write(2): when the
/// next one does not fit, and on destruction. So they come before anything written by the handler
/// of an exception that ended the decoding.
class Complaints {
  public:
    Complaints() = default;
    ~Complaints() { write(); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    /// Adds the line `what` + `subject`, any bytes. Throws std::bad_alloc only.
    void add(std::string_view what, std::string_view subject);

  private:
    void write();

    std::string lines_;
};

}  // namespace tolva
