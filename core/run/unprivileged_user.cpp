// SPDX-License-Identifier: Apache-2.0

#include "core/run/unprivileged_user.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

namespace autoresponder {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// The user of a line of passwd(5), if that is the one that is looked for.
std::optional<Identity> identity_in(const char* line) {
    const std::string_view name(kUnprivilegedUser);
    unsigned user = 0;
    unsigned group = 0;
    if (!std::string_view(line).starts_with(name) ||
        std::sscanf(line + name.size(), ":%*[^:]:%u:%u:", &user, &group) != 2 || user == 0) {
        return std::nullopt;
    }
    return Identity{user, group};
}

}  // namespace

// Not with fgetpwent(3), which makes a system call for each line.
Identity unprivileged_identity() {
    const std::unique_ptr<std::FILE, CloseFile> users(std::fopen("/etc/passwd", "re"));
    std::array<char, 1024> line;
    while (users && std::fgets(line.data(), line.size(), users.get()) != nullptr) {
        if (const auto identity = identity_in(line.data())) {
            return *identity;
        }
    }
    return {kNobodyUser, kNobodyGroup};
}

}  // namespace autoresponder
