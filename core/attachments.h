#pragma once

#include <string>
#include <vector>

#include "support/db.h"

class AttachmentRepository;

/// The files that a responder attaches to its replies, as listed in table resp_attach.
struct Attachments {
    /// Names of the files that exist, in the order of the rows.
    std::vector<std::string> present;
    /// Names of those that do not, a line each.
    std::string missing;
};

/// Lists the files of the responder `rn_id` and looks them up in `repository`. Whether those
/// present can be read shows when they are attached. Throws EndOfRun if the statement fails.
Attachments find_attachments(MYSQL* connection, const std::string& rn_id,
                             const AttachmentRepository& repository);
