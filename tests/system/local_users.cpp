// SPDX-License-Identifier: Apache-2.0

#include "tests/system/local_users.h"

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

void check(bool done, const std::string& what) {
    if (!done) {
        throw std::runtime_error("cannot " + what);
    }
}

const std::array<const LocalUser*, 4>& users() {
    static const std::array all = {&alice(), &bob(), &carol(), &popuser()};
    return all;
}

// /etc there is a directory of links to the machine's files, so the file takes the place of a link.
void add_lines(const char* path, const std::string& lines) {
    std::ifstream before(path);
    const std::string text{std::istreambuf_iterator<char>(before), {}};
    if (text.find(lines) != std::string::npos) {
        return;
    }
    fs::remove(path);
    write_text(path, text + lines);
}

bool become(const LocalUser& user) {
    std::vector<gid_t> groups(user.further_groups.begin(), user.further_groups.end());
    groups.push_back(user.group);
    return setgroups(groups.size(), groups.data()) == 0 &&
           setresgid(user.group, user.group, user.group) == 0 &&
           setresuid(user.id, user.id, user.id) == 0;
}

}  // namespace

const LocalUser& alice() {
    static const LocalUser user{"tvaalice", 5001, 5001, {}};
    return user;
}

const LocalUser& bob() {
    static const LocalUser user{"tvabob", 5002, 5002, {kStaff}};
    return user;
}

const LocalUser& carol() {
    static const LocalUser user{"tvacarol", 5003, 5003, {kStaff}};
    return user;
}

const LocalUser& popuser() {
    static const LocalUser user{"tvapopuser", 5004, kMailGroup, {}};
    return user;
}

bool add_local_users() {
    const fs::path file = fs::temp_directory_path() / "given-away";
    write_text(file, "");
    const bool possible = geteuid() == 0 && chown(file.c_str(), alice().id, alice().group) == 0;
    fs::remove(file);
    if (!possible) {
        return false;
    }
    std::string passwd;
    std::string group = "tvamail:x:" + std::to_string(kMailGroup) + ":\n";
    std::string staff = "tvastaff:x:" + std::to_string(kStaff) + ":";
    for (const LocalUser* user : users()) {
        const std::string name = user->name;
        passwd += name + ":x:" + std::to_string(user->id) + ":" + std::to_string(user->group) +
                  "::/nonexistent:/bin/false\n";
        if (user->group != kMailGroup) {
            group += name + ":x:" + std::to_string(user->group) + ":\n";
        }
        if (!user->further_groups.empty()) {
            staff += (staff.back() == ':' ? "" : ",") + name;
        }
    }
    add_lines("/etc/passwd", passwd);
    add_lines("/etc/group", group + staff + "\n");
    return true;
}

pid_t start_as(const LocalUser& user, const std::function<void()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        int status = EXIT_FAILURE;
        try {
            check(become(user), "become " + std::string(user.name));
            work();
            status = EXIT_SUCCESS;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s failed: %s\n", user.name, error.what());
        }
        _exit(status);
    }
    return child;
}

void run_as(const LocalUser& user, const std::function<void()>& work) {
    int status = 0;
    check(waitpid(start_as(user, work), &status, 0) != -1 && status == 0,
          "do that as " + std::string(user.name));
}

Doing::Doing(const LocalUser& user, const std::function<void()>& work)
    : pid_(start_as(user, [&] {
          for (;;) {
              work();
          }
      })) {}

Doing::~Doing() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void write_text(const std::string& path, std::string_view text, mode_t mode) {
    std::ofstream file(path);
    file << text;
    file.close();
    check(!file.fail() && chmod(path.c_str(), mode) == 0, "write " + path);
}

void give(const std::string& path, const LocalUser& user, mode_t mode) {
    give(path, user.id, user.group, mode);
}

void give(const std::string& path, unsigned user, unsigned group, mode_t mode) {
    check(lchown(path.c_str(), user, group) == 0, "give " + path + " away");
    check(fs::is_symlink(path) || chmod(path.c_str(), mode) == 0, "change the mode of " + path);
}
