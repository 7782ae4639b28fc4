// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>
#include <utility>

#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// The copy of the incoming message on disk, for those it is forwarded to. A run has one, in the
/// file `mail_file_name` (core/run/temporary_files.h), readable by its owner only; the end of the
/// run removes it.
///
/// The copy is a prefix of the message: after the first write that fails nothing more is written. A
/// message is answered even if its copy is cut short; whoever forwards it says so.
class MessageCopy {
  public:
    /// Makes the file.
    static tolva::Result<MessageCopy> make();

    void append(std::string_view bytes);

    /// Closes the file; nothing may be appended after that.
    void close() { file_.close(); }

    /// Whether all that was appended has been written, or why not.
    [[nodiscard]] tolva::Result<void> whole() const { return written_; }

    /// Opens the run's copy for reading from its start.
    static tolva::Result<tolva::Descriptor> open();

  private:
    explicit MessageCopy(tolva::Descriptor file) : file_(std::move(file)) {}

    tolva::Descriptor file_;
    tolva::Result<void> written_;
};

}  // namespace autoresponder
