// SPDX-License-Identifier: Apache-2.0

#include "core/files/suspect.h"

#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace autoresponder {

namespace {

struct User {
    std::string name;
    gid_t group;
};

// Nothing if the system's database does not know the user, or cannot tell: less is allowed then.
std::optional<User> find_user(uid_t id) {
    constexpr std::size_t first_size = 4096;
    constexpr std::size_t most = 1 << 20;
    for (std::size_t size = first_size; size <= most; size *= 2) {
        std::vector<char> buffer(size);
        passwd entry{};
        passwd* found = nullptr;
        const int error = getpwuid_r(id, &entry, buffer.data(), buffer.size(), &found);
        if (found != nullptr) {
            return User{found->pw_name, found->pw_gid};
        }
        if (error != ERANGE) {
            break;
        }
    }
    return std::nullopt;
}

std::vector<gid_t> groups_of(const User& user) {
    std::vector<gid_t> groups(64);
    int count = static_cast<int>(groups.size());
    while (getgrouplist(user.name.c_str(), user.group, groups.data(), &count) < 0) {
        if (static_cast<std::size_t>(count) <= groups.size()) {
            return {};  // it failed, and not for want of room
        }
        groups.resize(static_cast<std::size_t>(count));
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

Identity identity_of_user(uid_t id) {
    const std::optional<User> user = find_user(id);
    return user ? Identity{id, user->group, groups_of(*user)} : Identity{id, kNobodyGroup};
}

}  // namespace

Identity identity_of(const Suspect& suspect) {
    switch (suspect.kind) {
        case Suspect::Kind::kUser:
            return identity_of_user(suspect.id);
        case Suspect::Kind::kGroup:
            return {kNobodyUser, suspect.id};
        case Suspect::Kind::kAnybody:
            break;
    }
    return {kNobodyUser, kNobodyGroup};
}

}  // namespace autoresponder
