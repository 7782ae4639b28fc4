#pragma once

#include <string>
#include <utility>

#include "support/descriptor.h"

struct Mailbox;

/// The directory in which a mailbox's files to attach lie:
/// <mail-names directory>/<domain>/<mailbox>/@attachments.
///
/// The mailbox's owner can put there, or in the place of the directories on the way, what root
/// would not give away, such as a link to a file of root's. So a file is looked up and read with
/// the rights of whoever can have put it there: see core/guarded_path.h.
class AttachmentRepository {
  public:
    explicit AttachmentRepository(const Mailbox& mailbox);

    /// The directory `path` below the directory `root`, which is root's.
    AttachmentRepository(std::string root, std::string path)
        : root_(std::move(root)), path_(std::move(path)) {}

    /// Of the file of that name, as messages about it show it.
    [[nodiscard]] std::string path(const std::string& name) const;

    /// Whether there is anything of that name, a directory or an unreadable file included. A name
    /// with a component ".." counts as there.
    [[nodiscard]] bool has(const std::string& name) const;

    struct OpenedFile {
        tolva::Descriptor descriptor;
        int error = 0;  ///< errno value; 0 where the file is open
    };

    /// Opens a file for reading, without waiting for anybody. Only regular files can be opened: a
    /// pipe or device may block or never end. A name with a component ".." is refused with EACCES.
    [[nodiscard]] OpenedFile open(const std::string& name) const;

  private:
    std::string root_;
    std::string path_;
};
