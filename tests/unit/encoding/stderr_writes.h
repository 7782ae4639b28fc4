// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

/// Captures standard error write by write: as long as the object lives, the descriptor is a socket
/// that preserves the boundaries of write(2). It holds some 100 kB until it is read.
class StderrWrites {
  public:
    StderrWrites();
    ~StderrWrites();
    StderrWrites(const StderrWrites&) = delete;
    StderrWrites& operator=(const StderrWrites&) = delete;

    /// What has been written since the last call, one element for each write.
    std::vector<std::string> take();

  private:
    int saved_;
    int reading_end_ = -1;
};
