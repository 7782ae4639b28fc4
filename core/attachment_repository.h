#pragma once

#include <string>

#include "support/descriptor.h"

struct Mailbox;

/// The directory in which a mailbox's files to attach lie:
/// <mail-names directory>/<domain>/<mailbox>/@attachments.
class AttachmentRepository {
  public:
    explicit AttachmentRepository(const Mailbox& mailbox);
    explicit AttachmentRepository(std::string directory) : directory_(std::move(directory)) {}

    [[nodiscard]] std::string path(const std::string& name) const {
        return directory_ + "/" + name;
    }

    /// Whether there is anything of that name, a directory or an unreadable file included.
    [[nodiscard]] bool has(const std::string& name) const;

    struct OpenedFile {
        tolva::Descriptor descriptor;
        int error = 0;  ///< errno value; 0 where the file is open
    };

    /// Opens a file for reading, without waiting for anybody. Only regular files can be opened: a
    /// pipe or device may block or never end.
    [[nodiscard]] OpenedFile open(const std::string& name) const;

  private:
    std::string directory_;
};
