// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace testing_support {

/// While it lives, the process can get no more than some megabytes.
class MemoryLimit {
  public:
    MemoryLimit() {
        getrlimit(RLIMIT_AS, &before_);
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlim_t size = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
        const rlimit limit = {size + (32U << 20U), before_.rlim_max};
        setrlimit(RLIMIT_AS, &limit);
    }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    ~MemoryLimit() { setrlimit(RLIMIT_AS, &before_); }

  private:
    rlimit before_{};
};

/// A statement with a result of 300 MB.
inline constexpr char kManyRows[] =
    "with recursive n(i) as (select 1 union all select i + 1 from n where i < 300) "
    "select repeat('x', 1000000) from n";

}  // namespace testing_support
