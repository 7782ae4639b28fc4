#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "control/explanation.h"

/// Where the mails that would be handed over are written to, each with its envelope.
class MailFiles {
  public:
    /// Into the directory `directory`, which is created if it does not exist; nowhere if it is
    /// null. Throws Failure.
    explicit MailFiles(std::optional<std::string> directory);

    /// Writes the bytes that are read from `fd`, and the envelope of `mail`: to <number>-<kind>.eml
    /// and <number>-<kind>.envelope, where the first line is the sender and each other one a
    /// recipient. Sets size and file of `mail`. Throws Failure.
    void add(ExplainedMail& mail, int fd);

    /// The same with the bytes that `write_mail` writes.
    void add(ExplainedMail& mail, const std::function<void(std::ostream&)>& write_mail);

  private:
    std::optional<std::string> directory_;
    int count_ = 0;
};
