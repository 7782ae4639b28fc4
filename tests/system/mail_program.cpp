// SPDX-License-Identifier: Apache-2.0

// The private world's /usr/sbin/sendmail: stores what it is given; see mail_program.h.

#include "tests/system/mail_program.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string behaviour() {
    std::ifstream file(kBehaviourFile);
    std::string word;
    file >> word;
    return word;
}

// Makes the first n.arguments that does not exist yet, and returns the path up to the dot.
std::string claim_number() {
    for (int number = 1;; ++number) {
        std::string base = std::string(kMailDirectory) + "/" + std::to_string(number);
        const int fd =
            open((base + ".arguments").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd >= 0) {
            close(fd);
            return base;
        }
        if (errno != EEXIST) {
            std::perror(base.c_str());
            std::exit(EXIT_FAILURE);
        }
    }
}

void record_descriptors(std::ostream& facts) {
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) {
        return;
    }
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory)) {
        if (entry->d_name[0] != '.' && std::stoi(entry->d_name) != dirfd(directory)) {
            facts << "descriptor " << entry->d_name << '\n';
        }
    }
    closedir(directory);
}

void record_signals(std::ostream& facts) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:")) {
            facts << (line[3] == 'B' ? "blocked " : "ignored ") << line.substr(8) << '\n';
        }
    }
}

void record_user(std::ostream& facts) {
    facts << "real_user " << getuid() << '\n'
          << "effective_user " << geteuid() << '\n'
          << "real_group " << getgid() << '\n'
          << "effective_group " << getegid() << '\n';
    std::vector<gid_t> groups(65536);
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    for (int i = 0; i < count; ++i) {
        facts << "group " << groups[static_cast<std::size_t>(i)] << '\n';
    }
}

void record_input(std::ostream& facts) {
    struct stat status {};
    if (fstat(STDIN_FILENO, &status) == 0) {
        facts << "input_mode " << status.st_mode << '\n';
    }
    std::vector<char> name(4096);
    const ssize_t length = readlink("/proc/self/fd/0", name.data(), name.size());
    if (length > 0) {
        facts << "input_name " << std::string(name.data(), static_cast<size_t>(length)) << '\n';
    }
}

// Copies standard input to `path`, or only counts it when `path` is empty.
std::size_t take_input(const std::string& path, useconds_t pause) {
    std::ofstream file;
    if (!path.empty()) {
        file.open(path, std::ios::binary);
    }
    std::vector<char> block(pause == 0 ? 65536 : 4096);
    std::size_t size = 0;
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, block.data(), block.size());
        if (got <= 0) {
            return size;
        }
        size += static_cast<std::size_t>(got);
        if (file.is_open()) {
            file.write(block.data(), got);
        }
        usleep(pause);
    }
}

}  // namespace

int main(int argc, char** argv) {
    // What was inherited is looked at before this program opens files of its own.
    std::ostringstream facts;
    record_input(facts);
    record_signals(facts);
    record_user(facts);
    record_descriptors(facts);

    const std::string how = behaviour();
    const std::string base = claim_number();
    std::ofstream environment(base + ".environment", std::ios::binary);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment << *variable << '\0';
    }
    environment.close();
    std::ofstream arguments(base + ".arguments", std::ios::binary);
    for (int i = 0; i < argc; ++i) {
        arguments << argv[i] << '\0';
    }
    arguments.close();
    if (how != "unread") {
        const std::string store = how == "count" ? "" : base + ".message";
        facts << "size " << take_input(store, how == "slow" ? 3000 : 0) << '\n';
    }
    std::ofstream(base + ".facts") << facts.str();
    if (how == "linger") {
        usleep(500000);
    }
    if (how == "killed") {
        std::raise(SIGKILL);
    }
    return how == "exit-75" ? 75 : EXIT_SUCCESS;
}
