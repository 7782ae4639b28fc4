#pragma once

#include <string_view>

#include "support/descriptor.h"

/// The copy of the incoming message on disk, for those it is forwarded to. A run has one, in the
/// file `mail_file_name`, readable by its owner only; the end of the run removes it.
///
/// The copy is a prefix of the message: after the first write that fails nothing more is written. A
/// message is answered even if its copy is cut short; whoever forwards it says so.
class MessageCopy {
  public:
    /// Makes the file. If that fails there is none.
    MessageCopy();

    [[nodiscard]] bool made() const { return static_cast<bool>(file_); }

    void append(std::string_view bytes);

    /// Opens the run's copy for reading from its start; empty, with the reason in errno, if that
    /// fails.
    [[nodiscard]] static tolva::Descriptor open();

    /// The errno value of the write that cut the run's copy short; 0 if it is whole.
    [[nodiscard]] static int cut_short_by();

    [[nodiscard]] static const char* name();

  private:
    tolva::Descriptor file_;
};
