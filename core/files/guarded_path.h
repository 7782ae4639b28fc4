// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

#include "core/run/file_identity.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// Where to look up a file that somebody other than root may have put there, and with whose rights.
struct GuardedPath {
    tolva::Descriptor directory;  ///< opened with O_PATH
    std::string name;             ///< to be looked up there; may have several components
    std::optional<FileIdentity> identity = {};  ///< whose rights to use; none: those of the process
    bool follow_links = false;                  ///< whether the look-up has to follow links
};

/// Walks from the directory `root` down along `path`, component by component, as long as root alone
/// can have put there what it finds: something that belongs to root, in a directory that nobody
/// else may write to. The first component that somebody else can have put there ends the walk: the
/// rest is to be looked up with the rights of its owner or, where that is root, with nobody's.
///
/// Links of root's are followed, wherever they lead; those of others are left to the look-up. What
/// lies above `root` is trusted. A process that is not root has no rights that others could abuse,
/// so it looks everything up as it is.
tolva::Result<GuardedPath> walk_guarded(const std::string& root, const std::string& path);

}  // namespace autoresponder
