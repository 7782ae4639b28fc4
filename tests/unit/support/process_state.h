#pragma once

#include <dirent.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <cerrno>

namespace testing_support {

/// Whether a status of waitpid(2) is that of a process that exited with that code.
inline bool exited_with(int status, int code) {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

/// How many descriptors the process has: to be compared before and after.
inline long open_descriptors() {
    DIR* directory = opendir("/proc/self/fd");
    long count = 0;
    while (readdir(directory) != nullptr) {
        ++count;
    }
    closedir(directory);
    return count;
}

/// While it lives, no descriptor can be opened: EMFILE.
class NoMoreDescriptors {
  public:
    NoMoreDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none = {3, before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

/// From now on a signal with a handler that does nothing and without SA_RESTART interrupts the
/// process again and again.
inline void interrupt_every_20_milliseconds() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often = {{0, 20000}, {0, 20000}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

inline bool has_children() {
    const pid_t found = waitpid(-1, nullptr, WNOHANG);
    return !(found == -1 && errno == ECHILD);
}

}  // namespace testing_support
