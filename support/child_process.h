// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>
#include <sys/uio.h>

#include <array>
#include <cstdarg>
#include <cstring>
#include <span>

#include "support/c_pointer.h"

/// What the functions of the exec family share: the way from vfork(2) to execv(2), and the wait.
namespace tolva::child {

/// Where the child's standard streams come from. The number of the stream itself means that the
/// child inherits it, -1 means /dev/null; any other value is a descriptor of the caller, which is
/// closed in the child once it has become the stream.
struct Streams {
    int in = 0;
    int out = 1;
    int err = 2;
};

/// Makes a child that has just been started independent of its caller: connects its standard
/// streams, closes all other descriptors, and sets every signal that is not ignored, and SIGPIPE,
/// to its default action. Allocates nothing. False, with errno, if the streams cannot be connected.
[[nodiscard]] bool become_independent(const Streams& wanted);

/// Says on the child's standard error why execv(2) failed. Called in the child, which shares the
/// caller's memory: it may call async-signal-safe functions only and change nothing.
using ExecFailureReport = void (*)(const char* path, int error);

/// "fork_execv: execv(\"%s\") failed: %s\n"
void report_failed_execv(const char* path, int error);

/// Starts path with argv in a child that has the streams given, no other descriptor, SIGPIPE at its
/// default and the signal mask of the caller. Returns the child's process id, or -1 with the errno
/// of vfork(2); reports nothing itself. A child whose streams cannot be connected or that cannot
/// become the program says so on its standard error and ends with status 255, through _exit(2):
/// what the caller registered with atexit(3) or holds in stdio buffers is the caller's alone. No
/// signal handler of the caller runs in the child.
[[nodiscard]] pid_t start(const Streams& wanted, const char* path, char* const argv[],
                          ExecFailureReport report = report_failed_execv);

/// Waits for the end of that child, whatever signals arrive meanwhile. Returns the status as from
/// waitpid(2), or -1 with errno.
[[nodiscard]] int wait_for(pid_t pid);

/// strerror(3) without a buffer or a locale; async-signal-safe.
const char* reason(int error);

void say_pieces(std::span<iovec> pieces);

/// Writes the texts, which are const char*, to standard error with one call; async-signal-safe.
template <typename... Texts>
void say(Texts... texts) {
    std::array<iovec, sizeof...(texts)> pieces{
        iovec{const_cast<char*>(texts), std::strlen(texts)}...};
    say_pieces(pieces);
}

/// An argument vector for execv(2); the strings belong to the caller that passed them.
using ArgumentVector = CPointer<char*[]>;

/// The const char* arguments of a variable list up to and including the null pointer that ends it.
/// Null with errno ENOMEM when there is no memory.
[[nodiscard]] ArgumentVector collect_arguments(va_list arguments);

/// Reports "malloc() failed: %s" with the pending error through messlog2, which keeps errno.
void report_failed_malloc(int status);

/// Calls run(argv) with the arguments of a variable list. When there is no memory for them, reports
/// "malloc() failed: %s" through messlog2 with that status and returns -1.
template <typename Run>
[[nodiscard]] int with_arguments(va_list arguments, int status, Run run) {
    const ArgumentVector argv = collect_arguments(arguments);
    if (argv == nullptr) {
        report_failed_malloc(status);
        return -1;
    }
    return run(argv.get());
}

/// Reports "fork_execv_pipes: fork() failed" through messlog2, which keeps errno.
void report_failed_fork(int status);

}  // namespace tolva::child
