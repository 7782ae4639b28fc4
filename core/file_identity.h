#pragma once

#include <sys/types.h>

#include <vector>

/// With whose rights files are looked up and opened (setfsuid(2), credentials(7)).

struct FileIdentity {
    uid_t user;
    gid_t group;
};

/// Somebody with no rights but everybody's.
inline constexpr FileIdentity kNobody = {65534, 65534};

/// While it lives, the process has the rights of `identity` over files and no others: neither
/// supplementary groups nor root's capabilities. Whom a signal or another process may reach does
/// not change. Only root can assume another identity.
class AssumedIdentity {
  public:
    explicit AssumedIdentity(FileIdentity identity);
    ~AssumedIdentity();
    AssumedIdentity(const AssumedIdentity&) = delete;
    AssumedIdentity& operator=(const AssumedIdentity&) = delete;

    /// The errno value of what failed, 0 if the identity is assumed. Nothing must be looked up
    /// otherwise.
    [[nodiscard]] int error() const { return error_; }

  private:
    std::vector<gid_t> groups_;
    int error_ = 0;
};

/// Gives the process its own rights over files back. Async-signal-safe: a signal may arrive while
/// another identity is assumed.
void resume_own_file_identity() noexcept;
