// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace autoresponder {

/// Thrown when the run cannot go on: nothing more is answered. It is not a std::exception, so that
/// no handler of a failure that the run survives catches it.
class EndOfRun {
  public:
    enum class Cause {
        kFailure,  ///< something around the program; another run may fare better
        kMessage,  ///< the message itself
    };

    /// `line` is the whole line to report, without its newline. `reason` says why in words that
    /// fit a list of reasons; by default it is the line without "autoresponder: ".
    explicit EndOfRun(std::string line, std::string reason = {}, Cause cause = Cause::kFailure);

    [[nodiscard]] const std::string& line() const { return line_; }
    [[nodiscard]] const std::string& reason() const { return reason_; }
    [[nodiscard]] Cause cause() const { return cause_; }

  private:
    std::string line_;
    std::string reason_;
    Cause cause_;
};

/// Call from a catch block: reports the exception on standard error, whatever it is. Allocates
/// nothing.
void report_end_of_run() noexcept;

/// Call from a catch block: the EndOfRun that stands for the exception. Throws std::bad_alloc.
EndOfRun current_end();

}  // namespace autoresponder
