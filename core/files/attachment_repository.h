// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/files/file_helper.h"
#include "support/result.h"

namespace autoresponder {

class Session;
struct Mailbox;

/// The directory that contains a mailbox's files to attach:
/// <mail-names directory>/<domain>/<mailbox>/@attachments.
///
/// The mailbox's owner can put anything there, or in place of the directories on the way, such as a
/// link to a file of root's. So a file is attached only if everyone who could have put it there can
/// read it, and all of them read the same file: see core/files/common_look_up.h. Nor does the run
/// wait for ever for what they have put there: see core/files/file_helper.h.
class AttachmentRepository {
  public:
    explicit AttachmentRepository(const Mailbox& mailbox);

    /// The directory `path` below the directory `root`.
    AttachmentRepository(std::string root, std::string path)
        : root_(std::move(root)),
          path_(std::move(path)),
          files_(std::make_unique<FileHelper>(root_)) {}

    /// The path of the file of that name, as messages show it.
    [[nodiscard]] std::string path(const std::string& name) const;

    /// Whether anything of that name exists or may exist: a directory, too, and what cannot be
    /// looked up. A name with a component ".." counts as existing.
    [[nodiscard]] bool has(const std::string& name) const;

    /// Opens a file for reading. One file may be open at a time, as long as this object lives. Only
    /// regular files can be opened. A name with a component ".." is refused with EACCES.
    [[nodiscard]] tolva::Result<OpenedFile> open(const std::string& name) const;

  private:
    std::string root_;
    std::string path_;
    std::unique_ptr<FileHelper> files_;
};

/// The files that a responder attaches to its replies, as listed in table resp_attach.
struct Attachments {
    /// Names of the files that exist, in the order of the rows.
    std::vector<std::string> present;
    /// Names of those that do not exist.
    std::vector<std::string> missing;
};

/// Lists the files of the responder `rn_id` and looks them up in `repository`. Whether those
/// present can be read shows when they are attached. Throws EndOfRun if the statement fails.
Attachments find_attachments(Session& session, const std::string& rn_id,
                             const AttachmentRepository& repository);

}  // namespace autoresponder
