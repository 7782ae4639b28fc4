// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <compare>
#include <utility>

#include "core/run/rights.h"

namespace autoresponder {

/// Somebody besides root who could have put a file where it is.
struct Suspect {
    enum class Kind {
        kUser,    ///< the user `id`, who owns something on the way to the file
        kGroup,   ///< whoever is in the group `id`, which may write to a directory on the way
        kAnybody  ///< anybody at all
    };
    Kind kind;
    id_t id = 0;

    bool operator<(const Suspect& other) const {
        return std::pair(kind, id) < std::pair(other.kind, other.id);
    }
};

/// Whose rights stand for those of the suspect: a user's with the groups that the system's database
/// gives that user (getgrouplist(3)), or with none but nobody's if it does not know the user;
/// nobody's with the group alone; nobody's.
///
/// Asks the database, which may take long.
Identity identity_of(const Suspect& suspect);

}  // namespace autoresponder
