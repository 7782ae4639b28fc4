#pragma once

#include <string>
#include <utility>

#include "support/descriptor.h"

struct Mailbox;

/// The directory in which a mailbox's files to attach lie:
/// <mail-names directory>/<domain>/<mailbox>/@attachments.
///
/// The mailbox's owner can put anything there, or in place of the directories on the way, such as a
/// link to a file of root's. So a file is looked up and read with the rights of whoever could have
/// put it there: see core/guarded_path.h.
class AttachmentRepository {
  public:
    explicit AttachmentRepository(const Mailbox& mailbox);

    /// The directory `path` below the directory `root`, which is root's.
    AttachmentRepository(std::string root, std::string path)
        : root_(std::move(root)), path_(std::move(path)) {}

    /// The path of the file of that name, as messages show it.
    [[nodiscard]] std::string path(const std::string& name) const;

    /// Whether anything of that name exists, a directory or an unreadable file included. A name
    /// with a component ".." counts as existing.
    [[nodiscard]] bool has(const std::string& name) const;

    struct OpenedFile {
        tolva::Descriptor descriptor;
        int error = 0;  ///< errno value; 0 where the file is open
    };

    /// Opens a file for reading, without blocking. Only regular files can be opened: a pipe or
    /// device may block or never end. A name with a component ".." is refused with EACCES.
    [[nodiscard]] OpenedFile open(const std::string& name) const;

  private:
    std::string root_;
    std::string path_;
};
