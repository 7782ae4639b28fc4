#pragma once

#include <string>
#include <utility>

/// Thrown when the run cannot go on: nothing more is answered. Everything owned is released on its
/// way to main, which reports the reason. It is not a std::exception, so that no handler of a
/// failure that the run survives catches it.
class EndOfRun {
  public:
    /// `reason` is the whole line to report, without its line end.
    explicit EndOfRun(std::string reason) : reason_(std::move(reason)) {}

    [[nodiscard]] const std::string& reason() const { return reason_; }

  private:
    std::string reason_;
};

/// Reports why the run cannot go on. To be called in a handler, of whatever was thrown.
void report_end_of_run();

/// The one end of every run: removes the temporary files and exits with status 0, so that the mail
/// system takes the delivery as done whatever happened.
[[noreturn]] void correct_exit();
