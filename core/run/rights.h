// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <vector>

#include "support/result.h"

/// With whose rights a process runs (credentials(7), capabilities(7)).
namespace autoresponder {

struct Identity {
    uid_t user;
    gid_t group;
    std::vector<gid_t> groups = {};  ///< supplementary ones

    auto operator<=>(const Identity&) const = default;
};

inline constexpr uid_t kNobodyUser = 65534;
inline constexpr gid_t kNobodyGroup = 65534;

/// Gives this process the rights of `identity` and no others, for good: its user and groups in
/// every respect (real, effective, saved, file system), no capabilities, no privileges from
/// programs that it might start, and no other process may trace it. For a process that was forked
/// for this.
///
/// Yields why not; the process then has to end without having done anything.
tolva::Result<void> assume(const Identity& identity);

/// Whether the process could be that user: in a user namespace only some exist
/// (user_namespaces(7)).
bool has_user(uid_t user);

/// Gives up, for good, what this process may do beyond the rights of the user that it runs as:
/// capabilities, privileges from programs that it might start, being traced by others of that user.
tolva::Result<void> give_up_privileges();

}  // namespace autoresponder
