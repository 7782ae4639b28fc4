#pragma once

#include <dirent.h>
#include <sys/resource.h>
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

inline bool has_children() {
    const pid_t found = waitpid(-1, nullptr, WNOHANG);
    return !(found == -1 && errno == ECHILD);
}

}  // namespace testing_support
