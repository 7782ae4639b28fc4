#pragma once

#include <stdexcept>

/// A reply could not be handed to the mail program. What went wrong in detail has been reported by
/// then; what() is what the log records.
class SendError : public std::runtime_error {
  public:
    /// `error` is the errno value of the cause, 0 if that is not an error of the system.
    SendError(const std::string& what, int error) : std::runtime_error(what), error_(error) {}

    [[nodiscard]] int error() const { return error_; }

  private:
    int error_;
};
