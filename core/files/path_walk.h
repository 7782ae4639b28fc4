// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/stat.h>

#include <functional>
#include <set>
#include <string>

#include "core/files/suspect.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// What a component of a path names.
struct WalkEntry {
    tolva::Descriptor descriptor;  ///< opened with O_PATH
    struct stat status {};
    bool on_user_mount = false;

    [[nodiscard]] bool is_link() const { return S_ISLNK(status.st_mode); }
};

/// Where a path leads, and who besides root could have put there what it leads to.
struct PathWalk {
    /// All who have a hand in a component: they own it, or may write to the directory that it
    /// stands in. On a file system that a user has mounted that is anybody, whatever it claims.
    std::set<Suspect> suspects;
    /// Those of them whose links lead there.
    std::set<Suspect> link_owners;

    /// Where the suspects have to begin: the last directory, opened with O_PATH, that only root can
    /// have put there, and the rest of the path from there on. Root's private directories above it
    /// keep nobody out.
    tolva::Descriptor start;
    std::string rest;

    /// What stands at the end, or why the walk does not get there. A suspect may see less.
    tolva::Result<WalkEntry> end = tolva::Errno{0};
    /// The last directory, opened with O_PATH, and the name that it has at the end.
    tolva::Descriptor directory;
    std::string name;
};

/// openat(2) with the rights of a suspect.
using OpenAs =
    std::function<tolva::Result<tolva::Descriptor>(const Suspect&, int, const std::string&, int)>;

/// Walks from the directory `root` along `path`, component by component, with the rights of this
/// process, which is root. All links are followed as the kernel does (path_resolution(7)), root's
/// and others'; what they lead to is judged as what lies below `root` is. `root` itself is judged,
/// too. What lies above it is trusted.
///
/// A network store may refuse root what it allows a directory's owner: then the component is opened
/// with open_as.
PathWalk walk_path(const std::string& root, const std::string& path, const OpenAs& open_as);

}  // namespace autoresponder
