// SPDX-License-Identifier: Apache-2.0

// Every system call of a run fails in turn, in the program itself and in its children as long as
// they are not yet the mail program: alone, with all later ones of the same kind, or in part. And
// every signal arrives at every one of them.

#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/faults/full_run.h"

namespace {

struct Call {
    int kind = 0;              // SYS_...
    unsigned long number = 0;  // of those of its kind, from 1
    bool of_child = false;

    [[nodiscard]] std::string name() const {
        return std::to_string(kind) + ":" + std::to_string(number);
    }
};

// What the call may report according to its man page; EIO for those that hardly fail.
std::vector<int> errors_of(int kind) {
    static const std::map<int, std::vector<int>> errors = {
        {SYS_access, {EACCES, ENOENT, EIO}},
        {SYS_brk, {ENOMEM}},
        {SYS_clone, {EAGAIN, ENOMEM}},
        {SYS_clone3, {EAGAIN, ENOMEM, ENOSYS}},
        {SYS_close, {EIO, EINTR}},
        {SYS_close_range, {ENOSYS, ENOMEM}},
        {SYS_connect, {ECONNREFUSED, ENOENT, EAGAIN, EINTR}},
        {SYS_dup2, {EMFILE, EBUSY, EINTR}},
        {SYS_execve, {ENOENT, EACCES, ENOMEM, ETXTBSY, E2BIG}},
        {SYS_fcntl, {EBADF, EMFILE}},
        {SYS_fork, {EAGAIN, ENOMEM}},
        {SYS_fstat, {EIO, ENOMEM}},
        {SYS_ftruncate, {EIO, EINTR}},
        {SYS_getdents64, {EIO, ENOENT}},
        {SYS_getrandom, {EAGAIN, ENOSYS, EINTR}},
        {SYS_lseek, {ESPIPE, EINVAL}},
        {SYS_mmap, {ENOMEM}},
        {SYS_mprotect, {ENOMEM}},
        {SYS_munmap, {ENOMEM}},
        {SYS_newfstatat, {EACCES, ENOENT, ENOMEM, EIO}},
        {SYS_openat, {EMFILE, ENFILE, EACCES, ENOENT, EIO, EINTR}},
        {SYS_pipe2, {EMFILE, ENFILE}},
        {SYS_poll, {EINTR, ENOMEM}},
        {SYS_pread64, {EIO, EINTR}},
        {SYS_read, {EIO, EINTR, EAGAIN, EISDIR}},
        {SYS_recvfrom, {ECONNRESET, EINTR, ENOMEM}},
        {SYS_sendto, {EPIPE, ECONNRESET, EINTR, ENOBUFS}},
        {SYS_recvmsg, {ECONNRESET, EINTR, ENOMEM}},
        {SYS_sendmsg, {EPIPE, ECONNRESET, EINTR, ENOBUFS}},
        {SYS_setgid, {EPERM, EAGAIN}},
        {SYS_setgroups, {EPERM, ENOMEM}},
        {SYS_setresgid, {EPERM, EAGAIN}},
        {SYS_setresuid, {EPERM, EAGAIN}},
        {SYS_setuid, {EPERM, EAGAIN}},
        {SYS_shutdown, {ENOTCONN}},
        {SYS_socket, {EMFILE, ENFILE, EACCES, ENOBUFS}},
        {SYS_socketpair, {EMFILE, ENFILE, ENOMEM}},
        {SYS_unlink, {EACCES, EROFS, EIO, EBUSY}},
        {SYS_vfork, {EAGAIN, ENOMEM}},
        {SYS_wait4, {EINTR, ECHILD}},
        {SYS_write, {ENOSPC, EIO, EINTR, EDQUOT, EPIPE}},
        {SYS_writev, {ENOSPC, EIO, EINTR, EPIPE}},
    };
    const auto found = errors.find(kind);
    return found != errors.end() ? found->second : std::vector<int>{EIO, ENOMEM};
}

template <std::size_t size>
bool is_one_of(const std::array<int, size>& kinds, int kind) {
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

bool always_succeeds(int kind) {
    constexpr std::array kinds = {SYS_exit_group, SYS_rt_sigreturn, SYS_getpid, SYS_getuid,
                                  SYS_geteuid,    SYS_getgid,       SYS_getegid};
    return is_one_of(kinds, kind);
}

bool transfers(int kind) {
    constexpr std::array kinds = {SYS_read,     SYS_write,    SYS_pread64,
                                  SYS_pwrite64, SYS_recvfrom, SYS_sendto};
    return is_one_of(kinds, kind);
}

// Without the database, the program tries again for seconds.
bool is_of_connection(int kind) {
    constexpr std::array kinds = {SYS_socket, SYS_connect, SYS_sendto, SYS_recvfrom, SYS_poll};
    return is_one_of(kinds, kind);
}

bool goes_on_after(int signal) {
    return signal == SIGPIPE || signal == SIGXFSZ || signal == SIGCHLD;
}

class SystemCalls : public FullRun {
  protected:
    void SetUp() override {
        if (kSanitized) {
            GTEST_SKIP() << "the sanitizers end the process when calls of their own fail";
        }
        FullRun::SetUp();
    }

    // Of an undisturbed run, without those that cannot fail.
    std::vector<Call> calls() {
        rehearse(with_failing_call(plain_start(), "none", "calls"));
        std::ifstream log("/world/calls");
        std::vector<Call> all;
        Call call;
        std::string process;
        while (log >> call.kind >> call.number >> process) {
            call.of_child = process == "child";
            if (!always_succeeds(call.kind)) {
                all.push_back(call);
            }
        }
        EXPECT_GT(all.size(), 200U);
        return all;
    }

    // All of them, or at most `sample` of each kind, evenly spread.
    static std::vector<Call> some_of(const std::vector<Call>& all, std::size_t sample) {
        if (every_fault()) {
            return all;
        }
        std::map<int, std::vector<Call>> kinds;
        for (const Call& call : all) {
            kinds[call.kind].push_back(call);
        }
        std::vector<Call> some;
        for (const auto& [kind, calls] : kinds) {
            const std::size_t tries = std::min(calls.size(), sample);
            for (std::size_t i = 0; i < tries; ++i) {
                some.push_back(calls[(2 * i + 1) * calls.size() / (2 * tries)]);
            }
        }
        return some;
    }

    void fail(const Call& call, const std::string& later_ones, int error) {
        const std::string which = call.name() + later_ones;
        endure({.name = "call " + which + ": " + strerrorname_np(error),
                .invocation =
                    with_failing_call(plain_start(), which + ":error:" + std::to_string(error)),
                .can_remove_files = call.kind != SYS_unlink,
                .can_speak = call.kind != SYS_write || later_ones.empty()});
    }
};

// Every error of every call, or in the sample one error of some calls.
TEST_F(SystemCalls, EachMayFail) {
    std::size_t turn = 0;
    for (const Call& call : some_of(calls(), 2)) {
        std::vector<int> errors = errors_of(call.kind);
        if (!every_fault()) {
            errors = {errors[turn++ % errors.size()]};
        }
        for (const int error : errors) {
            fail(call, "", error);
        }
    }
}

TEST_F(SystemCalls, EachMayFailWithAllLaterOnesOfItsKind) {
    std::vector<Call> all = calls();
    std::size_t turn = 0;
    if (!every_fault()) {
        std::erase_if(all, [](const Call& call) { return is_of_connection(call.kind); });
    }
    for (const Call& call : some_of(all, 1)) {
        std::vector<int> errors = errors_of(call.kind);
        // It asks for another try, and does not go on for ever.
        std::erase(errors, EINTR);
        if (!every_fault() || is_of_connection(call.kind)) {
            errors = {errors[turn++ % errors.size()]};
        }
        for (const int error : errors) {
            fail(call, "+", error);
        }
    }
}

TEST_F(SystemCalls, EachMayTransferLessThanItWasAskedTo) {
    std::vector<Call> all = calls();
    std::erase_if(all, [](const Call& call) { return !transfers(call.kind); });
    for (const Call& call : some_of(all, 3)) {
        endure({.name = "call " + call.name() + " is short",
                .invocation = with_failing_call(plain_start(), call.name() + ":short")});
        if (every_fault()) {
            endure({.name = "calls from " + call.name() + " are short",
                    .invocation = with_failing_call(plain_start(), call.name() + "+:short")});
        }
    }
}

// Before it has its handlers, no program can do anything about a signal.
TEST_F(SystemCalls, ASignalMayArriveAtEachOnceThereAreHandlers) {
    std::vector<Call> all = calls();
    const auto sets_handler = [](const Call& call) { return call.kind == SYS_rt_sigaction; };
    const auto first = std::find_if(all.begin(), all.end(), sets_handler);
    all.erase(all.begin(), std::find_if_not(first, all.end(), sets_handler));
    constexpr std::array signals = {SIGTERM, SIGSEGV, SIGPIPE, SIGINT,  SIGHUP,  SIGALRM, SIGABRT,
                                    SIGBUS,  SIGXFSZ, SIGUSR1, SIGQUIT, SIGCHLD, SIGXCPU};
    std::size_t turn = 0;
    for (const Call& call : some_of(all, 1)) {
        for (std::size_t tries = every_fault() ? 4 : 1; tries > 0; --tries) {
            const int signal = signals[turn++ % signals.size()];
            if (call.of_child && goes_on_after(signal)) {
                continue;  // which the child, on its way to a program, does not
            }
            endure({.name = "call " + call.name() + ": SIG" + sigabbrev_np(signal),
                    .invocation = with_failing_call(
                        plain_start(), call.name() + ":signal:" + std::to_string(signal))});
        }
    }
}

}  // namespace
