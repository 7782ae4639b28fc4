// SPDX-License-Identifier: Apache-2.0

#pragma once

// A file system in user space (fuse(4)), without a library: a directory with a single entry.

#include <sys/types.h>

#include <string>

struct FuseTree {
    unsigned mounted_by = 0;  // the user_id of its mount options
    unsigned owner = 0;       // of all that it contains, as it says
    unsigned mode = 0755;     // of the directory; of the file without the execute bits

    std::string name = "x";    // of the entry
    std::string target = {};   // the entry is a link to it, if there is any
    std::string content = {};  // of the entry, if it is a file
    bool endless = false;      // the file has a terabyte of zeros

    bool refuses_root = false;  // as a network store does with "root squash"
    bool hangs_on_look_up = false;
    bool hangs_on_read = false;
    bool hangs_after_a_mebibyte = false;  // of what it is to read
};

// While it lives, the tree is mounted. What hangs is answered with an error at its end.
class FuseDaemon {
  public:
    // Throws std::runtime_error if it cannot be mounted.
    FuseDaemon(std::string directory, const FuseTree& tree);
    FuseDaemon(const FuseDaemon&) = delete;
    FuseDaemon& operator=(const FuseDaemon&) = delete;
    FuseDaemon(FuseDaemon&&) = delete;
    FuseDaemon& operator=(FuseDaemon&&) = delete;
    ~FuseDaemon();

    // Whether the kernel has FUSE, and lets it be mounted.
    static bool is_possible();

  private:
    std::string directory_;
    pid_t pid_ = -1;
};
