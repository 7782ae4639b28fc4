// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/explanation.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder::control {

/// Where the mails that would be handed over are written to, each with its envelope: to new files
/// that only their owner can read. A failure to write one is kept until it is asked for; then
/// nothing more is written, and what was written is removed.
class MailFiles {
  public:
    /// Into the directory `directory`, which is created if it does not exist; nowhere if it is
    /// null. It has to be a directory, not a link to one, of the effective user, which nobody else
    /// may write to: others could have put files there, or could change those that are written.
    /// Throws Failure.
    explicit MailFiles(std::optional<std::string> directory);

    /// Writes `text`, and the envelope of `mail`: to <number>-<kind>.eml and
    /// <number>-<kind>.envelope, where the first line is the sender and each other one a recipient.
    /// Sets size and file of `mail`.
    void add(ExplainedMail& mail, std::string_view text);

    /// The same with what is read from `text`.
    void add(ExplainedMail& mail, const tolva::Descriptor& text);

    /// Throws Failure if a mail could not be written.
    void throw_if_failed() const;

  private:
    void begin(ExplainedMail& mail);
    void write_envelope(const ExplainedMail& mail);
    void write(const std::string& path, std::string_view bytes);
    tolva::Descriptor create(const std::string& path);
    void fail_unless(tolva::Result<void> result, const std::string& path);

    std::optional<std::string> path_;  // of the directory
    tolva::Descriptor directory_;
    std::vector<std::string> written_;  // the names of the files in it
    std::string failure_;
    int count_ = 0;
};

}  // namespace autoresponder::control
