// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/private_directory.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

#include "tests/unit/support/child_run.h"

bool make_private(const char* directory) {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", directory, "tmpfs", 0, nullptr) == 0;
}

bool can_make_private(const char* directory) {
    return run_in_child([directory] { note(make_private(directory)); }).noted == "true\n";
}
