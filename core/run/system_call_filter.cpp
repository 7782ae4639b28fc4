// SPDX-License-Identifier: Apache-2.0

#include "core/run/system_call_filter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>

namespace autoresponder {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "the number of this architecture in <linux/audit.h> is needed here"
#endif

// Whatever their arguments are. Descriptors exist only as far as they have been left to the
// process.
constexpr std::array kAllowed = {
    SYS_read,
    SYS_pread64,
    SYS_readv,
    SYS_lseek,
    SYS_write,
    SYS_writev,
    SYS_sendto,
    SYS_close,
    SYS_fstat,
    SYS_newfstatat,
    SYS_statx,
    SYS_getdents64,
    SYS_munmap,
    SYS_mremap,
    SYS_mprotect,
    SYS_madvise,
    SYS_brk,
    SYS_futex,
    SYS_sysinfo,
    SYS_getrandom,
    SYS_clock_gettime,
    SYS_rt_sigprocmask,
    SYS_rt_sigreturn,
    SYS_restart_syscall,
    SYS_exit,
    SYS_exit_group,
#ifdef AUTORESPONDER_SANITIZED
    // By these the sanitizers find out what memory they may look at, and whose it is.
    SYS_getpid,
    SYS_gettid,
    SYS_pipe2,
    SYS_readlinkat,
    SYS_rt_sigaction,
    SYS_sched_yield,
    SYS_sigaltstack,
#ifdef SYS_pipe
    SYS_pipe,
    SYS_readlink,
#endif
#endif
};

// Opening a file for anything but reading what exists.
constexpr std::uint32_t kMoreThanReading = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND | O_TMPFILE;

constexpr std::uint32_t kDeny = SECCOMP_RET_ERRNO | EPERM;

using Instruction = sock_filter;

constexpr Instruction load(std::size_t offset) {
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
}

constexpr Instruction answer(std::uint32_t action) {
    return BPF_STMT(BPF_RET | BPF_K, action);
}

// If what was loaded is `value`, leaves out the next `skipped` instructions.
constexpr Instruction if_skip(std::uint32_t value, std::uint8_t skipped) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, skipped, 0);
}

// Unless what was loaded is `value`, leaves out the next `skipped` instructions.
constexpr Instruction unless_skip(long value, std::uint8_t skipped) {
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(value), 0, skipped);
}

// Unless one of the bits is set, leaves out the next `skipped` instructions.
constexpr Instruction without_bits_skip(std::uint32_t bits, std::uint8_t skipped) {
    return BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 0, skipped);
}

// If one of the bits is set, leaves out the next `skipped` instructions.
constexpr Instruction with_bits_skip(std::uint32_t bits, std::uint8_t skipped) {
    return BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, skipped, 0);
}

// The lower half of an argument, on a little-endian machine.
constexpr std::size_t argument(std::size_t number) {
    return offsetof(seccomp_data, args) + 8 * number;
}

constexpr auto make_filter() {
    constexpr std::array start = {
        // With the filter, the kernel looks for each of its system calls whether the filter always
        // allows it. That takes longer than a process of a few calls saves by it, and ends at an
        // instruction such as this one.
        Instruction{BPF_LDX | BPF_IMM, 0, 0, 0},
        load(offsetof(seccomp_data, arch)),
        if_skip(kArchitecture, 1),
        answer(SECCOMP_RET_KILL_PROCESS),  // another architecture has other numbers
        load(offsetof(seccomp_data, nr)),
    };
    constexpr std::array end = {
        unless_skip(SYS_openat, 3),
        load(argument(2)),
        // O_TMPFILE contains O_DIRECTORY, which may be asked for.
        without_bits_skip(kMoreThanReading & ~static_cast<std::uint32_t>(O_DIRECTORY), 7),
        answer(kDeny),
        // Memory that is shared does not count against the limit, nor does a stack.
        unless_skip(SYS_mmap, 4),
        load(argument(3)),
        without_bits_skip(MAP_ANONYMOUS, 1),
        with_bits_skip(MAP_SHARED, 1),
        without_bits_skip(MAP_GROWSDOWN, 1),
        answer(kDeny),
        answer(SECCOMP_RET_ALLOW),
    };
    std::array<Instruction, start.size() + kAllowed.size() + end.size()> filter{};
    std::size_t length = 0;
    for (const Instruction& instruction : start) {
        filter.at(length++) = instruction;
    }
    for (const long call : kAllowed) {
        const std::size_t to_the_last = filter.size() - 1 - (length + 1);
        filter.at(length++) =
            if_skip(static_cast<std::uint32_t>(call), static_cast<std::uint8_t>(to_the_last));
    }
    for (const Instruction& instruction : end) {
        filter.at(length++) = instruction;
    }
    return filter;
}

}  // namespace

// PR_SET_NO_NEW_PRIVS, which the kernel asks for, has been set with the rights.
void filter_system_calls() {
    static constexpr auto filter = make_filter();
    // The kernel does not write to it.
    const sock_fprog program{.len = filter.size(),
                             .filter = const_cast<Instruction*>(filter.data())};
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0);
}

bool can_filter_system_calls() {
    const std::uint32_t action = SECCOMP_RET_KILL_PROCESS;
    return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

}  // namespace autoresponder
