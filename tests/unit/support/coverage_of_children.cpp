// SPDX-License-Identifier: Apache-2.0

// Coverage counters are written at exit(3). Forked children that leave through _exit(2) have theirs
// written here, in place of that call (the linker's --wrap).

#include <sys/resource.h>

#include "tests/unit/support/failing_allocation.h"

extern "C" {

void __gcov_dump(void);
void __gcov_reset(void);
[[noreturn]] void __real__exit(int status);
}

namespace {

// Whatever a test has made fail must not fail here.
void write_counters() {
    { const FailingAllocation none(0); }
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit most = {limit.rlim_max, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &most);
    __gcov_dump();
    __gcov_reset();
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

extern "C" {

void __wrap__exit(int status) {
    write_counters();
    __real__exit(status);
}
}
