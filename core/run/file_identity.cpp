// SPDX-License-Identifier: Apache-2.0

#include "core/run/file_identity.h"

#include <grp.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace autoresponder {

namespace {

constexpr uid_t kNoUser = static_cast<uid_t>(-1);
constexpr gid_t kNoGroup = static_cast<gid_t>(-1);

// setfsuid(2) and setfsgid(2) do not tell whether they failed: they return what was before.
bool is_now(FileIdentity identity) {
    return static_cast<uid_t>(setfsuid(kNoUser)) == identity.user &&
           static_cast<gid_t>(setfsgid(kNoGroup)) == identity.group;
}

}  // namespace

// The group before the user: only root may choose it.
AssumedIdentity::AssumedIdentity(FileIdentity identity) {
    const int count = getgroups(0, nullptr);
    std::vector<gid_t> groups(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (count < 0 || getgroups(count, groups.data()) < 0) {
        assumed_ = tolva::Errno{errno};
        return;
    }
    if (!groups.empty() && setgroups(0, nullptr) != 0) {
        assumed_ = tolva::Errno{errno};
        return;
    }
    groups_.swap(groups);
    setfsgid(identity.group);
    setfsuid(identity.user);
    if (!is_now(identity)) {
        assumed_ = tolva::Errno{EPERM};
    }
}

AssumedIdentity::~AssumedIdentity() {
    resume_own_file_identity();
    if (!groups_.empty()) {
        // Root may always do this; should it fail, the mail program has fewer rights than usual.
        [[maybe_unused]] const int restored = setgroups(groups_.size(), groups_.data());
    }
}

void resume_own_file_identity() noexcept {
    setfsuid(geteuid());
    setfsgid(getegid());
}

}  // namespace autoresponder
