// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <dirent.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace testing_support {

/// errno as its macro is named, "0" where there is no error.
inline std::string error_name() {
    const char* name = strerrorname_np(errno);
    return name != nullptr ? name : std::to_string(errno);
}

/// A status of waitpid(2) in words: "exit 3", "signal 15", "signal 6, core dumped"; and the -1 of a
/// function that has none to return, with its errno: "-1 ECHILD".
inline std::string outcome(int status) {
    if (status == -1) {
        return "-1 " + error_name();
    }
    if (WIFSIGNALED(status)) {
        return "signal " + std::to_string(WTERMSIG(status)) +
               (WCOREDUMP(status) ? ", core dumped" : "");
    }
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status)) : "not ended";
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

/// Takes the next descriptor, to the end of the process: nothing that is opened later must get a
/// number whose system calls have been made to fail.
inline int take_descriptor() {
    return dup(STDERR_FILENO);
}

/// The number that the next descriptor will have.
inline int next_descriptor() {
    const int next = take_descriptor();
    close(next);
    return next;
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
