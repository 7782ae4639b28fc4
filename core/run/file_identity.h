// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <vector>

#include "support/result.h"

/// Whose rights files are looked up and opened with (setfsuid(2), credentials(7)).
namespace autoresponder {

struct FileIdentity {
    uid_t user;
    gid_t group;
};

/// A user who has no rights but those that everybody has.
inline constexpr FileIdentity kNobody = {65534, 65534};

/// While it lives, the process has the rights of `identity` over files and no others: neither
/// supplementary groups nor root's capabilities. Who may send signals to it does not change. Only
/// root can assume another identity.
class AssumedIdentity {
  public:
    explicit AssumedIdentity(FileIdentity identity);
    ~AssumedIdentity();
    AssumedIdentity(const AssumedIdentity&) = delete;
    AssumedIdentity& operator=(const AssumedIdentity&) = delete;

    /// Whether the identity is assumed, or why not; then nothing must be looked up.
    [[nodiscard]] tolva::Result<void> assumed() const { return assumed_; }

  private:
    std::vector<gid_t> groups_;
    tolva::Result<void> assumed_;
};

/// Gives the process back its own rights over files. Async-signal-safe: a signal may arrive while
/// another identity is assumed.
void resume_own_file_identity() noexcept;

}  // namespace autoresponder
