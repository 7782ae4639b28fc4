#pragma once

#include <string>
#include <vector>

/// Standard error, write by write: while the object lives, the stream is a socket that keeps what
/// one write(2) hands over apart from the next. It takes some 100 kB until it is read.
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
