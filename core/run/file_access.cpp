// SPDX-License-Identifier: Apache-2.0

#include "core/run/file_access.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include <linux/landlock.h>

#include "support/descriptor.h"

namespace autoresponder {

namespace {

// The rights that each version of the interface knows, from the first on; each version has those
// before it as well. Some are younger than the system's header.
constexpr std::array<std::uint64_t, 5> kRights = {
    (1ULL << 13) - 1, (1ULL << 14) - 1, (1ULL << 15) - 1, (1ULL << 15) - 1, (1ULL << 16) - 1};

long version() {
    return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
}

void allow_reading(const tolva::Descriptor& rules, const char* path, std::uint64_t rights) {
    const tolva::Descriptor place(open(path, O_PATH | O_CLOEXEC));
    const landlock_path_beneath_attr rule{.allowed_access = rights, .parent_fd = place.get()};
    if (place) {
        syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
    }
}

}  // namespace

// PR_SET_NO_NEW_PRIVS, which the kernel asks for, has been set with the rights.
void confine_file_access() {
    const long newest = version();
    if (newest < 1) {
        return;
    }
    const std::size_t known =
        std::min<std::size_t>(static_cast<std::size_t>(newest), kRights.size());
    const landlock_ruleset_attr handled{.handled_access_fs = kRights.at(known - 1)};
    const tolva::Descriptor rules(static_cast<int>(
        syscall(SYS_landlock_create_ruleset, &handled, sizeof handled.handled_access_fs, 0)));
    if (!rules) {
        return;
    }
    for (const char* libraries : {"/usr/lib", "/usr/lib64"}) {
        allow_reading(rules, libraries, LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR);
    }
    allow_reading(rules, "/etc/ld.so.cache", LANDLOCK_ACCESS_FS_READ_FILE);
    syscall(SYS_landlock_restrict_self, rules.get(), 0);
}

bool can_confine_file_access() {
    return version() >= 1;
}

}  // namespace autoresponder
