// SPDX-License-Identifier: Apache-2.0

#include "support/child_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "support/descriptor.h"
#include "support/log.h"
#include "support/result.h"

namespace tolva::child {

namespace {

constexpr int kCannotBecomeProgram = 255;
constexpr int kStandardStreams = 3;

bool connect(int source, int slot) {
    int descriptor = source;
    if (descriptor == -1) {
        descriptor = open("/dev/null", O_RDWR);
        if (descriptor == -1) {
            return false;
        }
    }
    if (descriptor == slot) {
        return true;  // the slot was closed, and /dev/null was given its number
    }
    const bool connected = dup2(descriptor, slot) != -1;
    const int error = errno;
    close(descriptor);
    errno = error;
    return connected;
}

bool connect_streams(const Streams& wanted) {
    std::array<int, kStandardStreams> sources = {wanted.in, wanted.out, wanted.err};
    // A standard stream that is wanted in another's place is copied first: its own slot may be
    // filled before it is needed, and must not be closed afterwards.
    for (int slot = 0; slot < kStandardStreams; ++slot) {
        int& source = sources[static_cast<size_t>(slot)];
        if (source >= 0 && source < kStandardStreams && source != slot) {
            source = fcntl(source, F_DUPFD_CLOEXEC, kStandardStreams);
            if (source == -1) {
                return false;
            }
        }
    }
    for (int slot = 0; slot < kStandardStreams; ++slot) {
        const int source = sources[static_cast<size_t>(slot)];
        if (source != slot && !connect(source, slot)) {
            return false;
        }
    }
    return true;
}

// The number that an entry of /proc/self/fd is named after, or -1.
int descriptor_number(const char* name) {
    if (*name == '\0') {
        return -1;
    }
    int number = 0;
    for (; *name != '\0'; ++name) {
        if (*name < '0' || *name > '9') {
            return -1;
        }
        number = number * 10 + (*name - '0');
    }
    return number;
}

// getdents64(2) because opendir(3) allocates. Closing while reading is safe: the kernel keeps its
// place in this directory by descriptor number.
bool close_listed_descriptors(int first) {
    const int directory = open("/proc/self/fd", O_RDONLY | O_DIRECTORY);
    if (directory == -1) {
        return false;
    }
    alignas(dirent64) std::array<char, 4096> entries;  // NOLINT(*-member-init): filled by the call
    ssize_t size = 0;
    while ((size = getdents64(directory, entries.data(), entries.size())) > 0) {
        for (ssize_t offset = 0; offset < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + offset);
            const int descriptor = descriptor_number(entry->d_name);
            if (descriptor >= first && descriptor != directory) {
                close(descriptor);
            }
            offset += entry->d_reclen;
        }
    }
    close(directory);
    return size == 0;
}

// A descriptor limit may be a million: counting up to it is the last resort.
void close_descriptors_from(int first) {
    if (close_range(static_cast<unsigned>(first), ~0U, 0) == 0 || close_listed_descriptors(first)) {
        return;
    }
    const int limit = getdtablesize();
    for (int descriptor = first; descriptor < limit; ++descriptor) {
        close(descriptor);
    }
}

// While it lives, no signal reaches the process.
class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, &before_);
    }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;
    ~BlockedSignals() { unblock(); }

    void unblock() const { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t before_{};
};

// Sets every signal that is not ignored to its default action, as execv does, and SIGPIPE in any
// case: a caller that ignores it does so for its own writes; a program started with it ignored
// would go on writing to a reader that has gone.
void reset_signal_actions() {
    struct sigaction default_action {};
    default_action.sa_handler = SIG_DFL;
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        struct sigaction before {};
        if (sigaction(signal, &default_action, &before) == 0 && before.sa_handler == SIG_IGN &&
            signal != SIGPIPE) {
            sigaction(signal, &before, nullptr);
        }
    }
}

[[noreturn]] void become(const Streams& wanted, const char* path, char* const argv[],
                         ExecFailureReport report, const BlockedSignals& blocked) {
    if (!become_independent(wanted)) {
        say("fork_execv: dup() failed: ", reason(errno), "\n");
        _exit(kCannotBecomeProgram);
    }
    blocked.unblock();
    errno = EFAULT;
    if (path != nullptr) {
        errno = 0;
        execv(path, argv);
    }
    report(path != nullptr ? path : "(null)", errno);
    _exit(kCannotBecomeProgram);
}

}  // namespace

bool become_independent(const Streams& wanted) {
    if (!connect_streams(wanted)) {
        return false;
    }
    close_descriptors_from(kStandardStreams);
    reset_signal_actions();
    return true;
}

void report_failed_execv(const char* path, int error) {
    say("fork_execv: execv(\"", path, "\") failed: ", reason(error), "\n");
}

// vfork(2), because copying the caller's page tables, and then its pages as it writes to them,
// takes much longer than everything else here. The caller is suspended until the child has become
// the program or ended, and the child runs in the caller's memory, on its stack. So it
//
// - calls async-signal-safe functions only, which allocate nothing and take no lock;
// - changes nothing but errno and the unused part of the stack;
// - runs none of the caller's signal handlers, which may write anywhere: signals are blocked until
//   it has reset their actions, which are not shared; one that was sent to it by then takes its
//   default action, as it would in the program;
// - ends with _exit(2) if it does not become the program.
pid_t start(const Streams& wanted, const char* path, char* const argv[], ExecFailureReport report) {
    const int error = errno;
    const BlockedSignals blocked;
    // NOLINTBEGIN(clang-analyzer-security.insecureAPI.vfork,clang-analyzer-unix.Vfork)
    const pid_t pid = vfork();
    if (pid == 0) {
        become(wanted, path, argv, report, blocked);
    }
    // NOLINTEND(clang-analyzer-security.insecureAPI.vfork,clang-analyzer-unix.Vfork)
    if (pid != -1) {
        errno = error;  // the child's errno is this one
    }
    return pid;
}

int wait_for(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) == -1) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

const char* reason(int error) {
    const char* description = strerrordesc_np(error);
    return description != nullptr ? description : "Unknown error";
}

void say_pieces(std::span<iovec> pieces) {
    [[maybe_unused]] const Result<void> written = write_whole(STDERR_FILENO, pieces);
}

ArgumentVector collect_arguments(va_list arguments) {
    va_list counted;
    va_copy(counted, arguments);
    size_t count = 1;  // the null pointer at the end
    while (va_arg(counted, char*) != nullptr) {
        ++count;
    }
    va_end(counted);

    ArgumentVector vector(static_cast<char**>(std::malloc(count * sizeof(char*))));
    if (vector != nullptr) {
        for (size_t i = 0; i < count; ++i) {
            vector[i] = va_arg(arguments, char*);
        }
    }
    return vector;
}

void report_failed_malloc(int status) {
    messlog2(status, 0, "malloc() failed: %s", strerror(errno));
}

void report_failed_fork(int status) {
    messlog2(status, 0, "fork_execv_pipes: fork() failed");
}

}  // namespace tolva::child
