// SPDX-License-Identifier: Apache-2.0

// runner PROCESSES OUTPUT PROGRAM [ARGUMENT]...
//
// Starts PROGRAM once for each line of standard input, "RECIPIENT FILE", with the file as its
// standard input, the recipient in RESP_RECIPIENT, and OUTPUT as its standard output; at most
// PROCESSES run at a time. Writes a line for each that has ended: the microseconds of processor
// time of it and the processes that it waited for. Ends with status 1 when one cannot be started or
// ends with another status than 0.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

bool start(const std::string& file, const char* output, char* const command[]) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, file.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, command[0], &actions, nullptr, command, environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0;
}

long long microseconds(const timeval& time) {
    return time.tv_sec * 1000000LL + time.tv_usec;
}

bool wait_for_one() {
    int status = 0;
    rusage usage{};
    if (wait4(-1, &status, 0, &usage) < 0) {
        return false;
    }
    std::cout << microseconds(usage.ru_utime) + microseconds(usage.ru_stime) << "\n";
    return status == 0;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 4) {
        std::cerr << "usage: runner PROCESSES OUTPUT PROGRAM [ARGUMENT]...\n";
        return 2;
    }
    int free = std::atoi(argv[1]);
    int running = 0;
    bool good = true;
    std::string recipient;
    std::string file;
    while (good && std::cin >> recipient >> file) {
        if (free == 0) {
            good = wait_for_one();
            --running;
            ++free;
        }
        setenv("RESP_RECIPIENT", recipient.c_str(), 1);
        good = good && start(file, argv[2], argv + 3);
        ++running;
        --free;
    }
    for (; good && running > 0; --running) {
        good = wait_for_one();
    }
    return good ? 0 : 1;
}
