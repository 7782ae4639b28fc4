// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <istream>
#include <optional>

namespace autoresponder {

/// Whether what the descriptor stands for lies in a file system that a user other than root has
/// mounted and serves (FUSE, fuse(8)): that user decides what it contains, and what it says of
/// owners and modes. `device` is the st_dev of the descriptor, which may be one opened with O_PATH.
///
/// True as well where that cannot be found out, and where the file system is not mounted any more.
bool is_on_user_mount(int descriptor, dev_t device);

/// What a list of mounts in the format of /proc/self/mountinfo (proc(5)) says about that device:
/// whether a user other than root has mounted it; nothing if it is not in the list.
std::optional<bool> is_listed_as_users(std::istream& mounts, dev_t device);

}  // namespace autoresponder
