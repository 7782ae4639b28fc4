// Coverage counters are written at exit(3). Children that leave through execv(2) or _exit(2) have
// theirs written here, in place of those calls (the linker's --wrap).

#include <sys/resource.h>

#include "tests/unit/support/failing_allocation.h"

extern "C" {

void __gcov_dump(void);
void __gcov_reset(void);
int __real_execv(const char* path, char* const argv[]);
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

int __wrap_execv(const char* path, char* const argv[]) {
    write_counters();
    return __real_execv(path, argv);
}

void __wrap__exit(int status) {
    write_counters();
    __real__exit(status);
}
}
