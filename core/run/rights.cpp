// SPDX-License-Identifier: Apache-2.0

#include "core/run/rights.h"

#include <grp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>

#include <linux/capability.h>

namespace autoresponder {

namespace {

// The kernel takes capabilities away with the last user id that is root's, but not from a process
// with other securebits than the usual.
bool drop_capabilities() {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
    return syscall(SYS_capset, &header, none.data()) == 0;
}

tolva::Result<void> succeeded(bool done) {
    if (!done) {
        return tolva::Errno{errno};
    }
    return {};
}

}  // namespace

// The user last: only root may choose the others.
tolva::Result<void> assume(const Identity& identity) {
    const bool assumed = setgroups(identity.groups.size(), identity.groups.data()) == 0 &&
                         setresgid(identity.group, identity.group, identity.group) == 0 &&
                         setresuid(identity.user, identity.user, identity.user) == 0;
    return assumed ? give_up_privileges() : succeeded(false);
}

bool has_user(uid_t user) {
    std::ifstream ranges("/proc/self/uid_map");
    unsigned long first = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    bool found = !ranges;
    while (!found && ranges >> first >> outside >> count) {
        found = user >= first && user - first < count;
    }
    return found;
}

tolva::Result<void> give_up_privileges() {
    return succeeded(drop_capabilities() && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                     prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0);
}

}  // namespace autoresponder
