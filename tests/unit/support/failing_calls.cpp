// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/failing_calls.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <linux/filter.h>
#include <linux/seccomp.h>

namespace {

void install(std::vector<sock_filter> filter) {
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        std::perror("no seccomp filter");
        _exit(99);
    }
}

sock_filter load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}

sock_filter skip_unless_equal(std::uint32_t value, std::uint8_t count) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, count);
}

sock_filter give(std::uint32_t action) {
    return BPF_STMT(BPF_RET | BPF_K, action);
}

std::uint32_t failure(int error) {
    return SECCOMP_RET_ERRNO | (static_cast<std::uint32_t>(error) & SECCOMP_RET_DATA);
}

void install_for(long number, unsigned char first_argument, std::uint32_t action) {
    install({load(offsetof(seccomp_data, nr)),
             skip_unless_equal(static_cast<std::uint32_t>(number), 4),
             load(offsetof(seccomp_data, args)), BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xff),
             skip_unless_equal(first_argument, 1), give(action), give(SECCOMP_RET_ALLOW)});
}

}  // namespace

namespace testing_support {

void fail_system_call(long number, int error) {
    install({load(offsetof(seccomp_data, nr)),
             skip_unless_equal(static_cast<std::uint32_t>(number), 1), give(failure(error)),
             give(SECCOMP_RET_ALLOW)});
}

void fail_system_call_with(long number, unsigned char first_argument, int error) {
    install_for(number, first_argument, failure(error));
}

void forbid_system_call_with(long number, unsigned char first_argument) {
    install_for(number, first_argument, SECCOMP_RET_KILL_PROCESS);
}

// The first argument of clone(2) has the signal for the parent in its lowest byte. The threads of a
// sanitizer have none there, and are not concerned.
void fail_fork(int error) {
    fail_system_call_with(SYS_clone, SIGCHLD, error);
    fail_system_call(SYS_clone3, error);
#ifdef SYS_vfork
    fail_system_call(SYS_vfork, error);
#endif
}

}  // namespace testing_support
