// SPDX-License-Identifier: Apache-2.0

#pragma once

// Users of the private world besides root, and what they do there.

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A user that the system's database knows.
struct LocalUser {
    const char* name;
    unsigned id;
    unsigned group;
    std::vector<unsigned> further_groups;
};

constexpr unsigned kMailGroup = 5100;
constexpr unsigned kStaff = 5101;

const LocalUser& alice();    // in no further group
const LocalUser& bob();      // in kStaff
const LocalUser& carol();    // in kStaff
const LocalUser& popuser();  // whose group is kMailGroup

// Makes these users known, in the private world's own /etc/passwd and /etc/group. False if the
// world has no other user ids to give.
bool add_local_users();

// Runs `work` as that user, in a process that has none of root's rights. Returns its id. `work`
// throws when it fails; the process then ends with another status than 0.
pid_t start_as(const LocalUser& user, const std::function<void()>& work);

// The same, and waits; throws std::runtime_error if it fails.
void run_as(const LocalUser& user, const std::function<void()>& work);

// While it lives, the user does that again and again.
class Doing {
  public:
    Doing(const LocalUser& user, const std::function<void()>& work);
    Doing(const Doing&) = delete;
    Doing& operator=(const Doing&) = delete;
    Doing(Doing&&) = delete;
    Doing& operator=(Doing&&) = delete;
    ~Doing();

    [[nodiscard]] pid_t pid() const { return pid_; }

  private:
    pid_t pid_;
};

// Makes a file; throws.
void write_text(const std::string& path, std::string_view text, mode_t mode = 0644);

// Changes owner, group and mode of what is there, not following links; throws.
void give(const std::string& path, const LocalUser& user, mode_t mode);
void give(const std::string& path, unsigned user, unsigned group, mode_t mode);
