// SPDX-License-Identifier: Apache-2.0

#include "core/files/user_mounts.h"

#include <sys/statfs.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string>
#include <string_view>

#include <linux/magic.h>

namespace autoresponder {

namespace {

// The next field, which may be empty; single blanks stand between them.
std::string_view take_field(std::string_view& fields) {
    const std::size_t end = std::min(fields.find(' '), fields.size());
    const std::string_view field = fields.substr(0, end);
    fields.remove_prefix(std::min(end + 1, fields.size()));
    return field;
}

bool is_of_device(std::string_view mount, dev_t device) {
    take_field(mount);  // its number
    take_field(mount);  // that of its parent
    return take_field(mount) == std::to_string(major(device)) + ":" + std::to_string(minor(device));
}

// The options of FUSE name the user who mounted it.
bool names_root(std::string_view options) {
    return ("," + std::string(options) + ",").find(",user_id=0,") != std::string::npos;
}

bool is_users(std::string_view mount) {
    constexpr std::string_view end_of_optional_fields = " - ";
    const std::size_t end = mount.find(end_of_optional_fields);
    if (end == std::string_view::npos) {
        return true;
    }
    mount.remove_prefix(end + end_of_optional_fields.size());
    const std::string_view type = take_field(mount);
    take_field(mount);  // its source
    return type.starts_with("fuse") && !names_root(mount);
}

}  // namespace

std::optional<bool> is_listed_as_users(std::istream& mounts, dev_t device) {
    for (std::string mount; std::getline(mounts, mount);) {
        if (is_of_device(mount, device)) {
            return is_users(mount);
        }
    }
    return std::nullopt;
}

bool is_on_user_mount(int descriptor, dev_t device) {
    struct statfs status {};
    if (fstatfs(descriptor, &status) == 0 && status.f_type != FUSE_SUPER_MAGIC) {
        return false;
    }
    std::ifstream mounts("/proc/self/mountinfo");
    return is_listed_as_users(mounts, device).value_or(true);
}

}  // namespace autoresponder
