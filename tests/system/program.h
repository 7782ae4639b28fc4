// SPDX-License-Identifier: Apache-2.0

#pragma once

// Starts the program under test, and shows what can be seen of its run from outside.

#include <sys/resource.h>
#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Whether tests and program are built with the sanitizers.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

// User and group id of somebody who is not root.
constexpr unsigned kNobody = 65534;

// How a run is started.
struct Invocation {
    std::string message = {};
    std::optional<std::string> recipient = "user@example.com";  // RESP_RECIPIENT
    std::map<std::string, std::string> environment = {};        // set beside what the tests have
    std::vector<std::pair<int, rlim_t>> limits = {};            // RLIMIT_... and its value
    std::vector<int> closed = {};                               // descriptors closed at the start
    std::vector<int> ignored = {};                              // signals ignored at the start
    mode_t umask = 022;
    std::vector<gid_t> groups = {};        // supplementary groups; none: those of the tests
    bool refuse_fork = false;              // the kernel refuses new processes with EAGAIN
    bool refuse_programs = false;          // it refuses vfork(2), which programs are started with
    bool hide_landlock = false;            // the kernel says that it has no Landlock
    bool hide_filters = false;             // it says that it has no filters of system calls
    bool hold_input_open = false;          // no end of input after the message until end_input()
    std::string input_path = {};           // opened as standard input in place of the message
    bool as_nobody = false;                // started by kNobody
    std::string path = {};                 // of the program; empty: the one under test
    std::optional<std::string> name = {};  // what the program is told to be its own; else its path
    int input_fd = -1;         // a descriptor to be standard input in place of the message
    bool set_user_id = false;  // a set-user-ID copy of the program, started by kNobody
    std::vector<std::string> arguments = {};  // after the name of the program
};

// What a run left behind.
struct Finished {
    int status = 0;  // as of waitpid
    std::string out;
    std::string err;
    rusage usage = {};  // of the program and the mail programs it waited for
};

class Program {
  public:
    // Starts the program at `path`; throws std::runtime_error.
    Program(const std::string& path, const Invocation& invocation);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    Program(Program&&) = delete;
    Program& operator=(Program&&) = delete;
    // Kills the program if it still runs.
    ~Program();

    void signal(int number) const;

    [[nodiscard]] pid_t pid() const { return pid_; }

    // Adds to the input that was held open, and ends it.
    void add_input(const std::string& bytes) const;
    void end_input();

    // Waits for the end of the program; throws std::runtime_error when it has not ended in time.
    Finished wait(int seconds = 60);

  private:
    int input_ = -1;   // what the program reads: a file in memory, or a pipe held open
    int holder_ = -1;  // the pipe's write end
    int out_ = -1;
    int err_ = -1;
    pid_t pid_ = -1;
};
