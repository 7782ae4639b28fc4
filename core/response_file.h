#pragma once

#include <functional>
#include <ostream>

#include "support/descriptor.h"

/// The file that a reply is written into and sent from. It is made by mkstemp(3), readable for its
/// owner only, lies under the name `resp_uu_file_name`, and is removed with this object.
class ResponseFile {
  public:
    /// Makes the file under a new name. If that fails there is no file, and nothing is written.
    ResponseFile();
    ~ResponseFile();
    ResponseFile(const ResponseFile&) = delete;
    ResponseFile& operator=(const ResponseFile&) = delete;

    /// Replaces the contents of the file by what `contents` writes. Throws std::runtime_error, with
    /// the reason on standard error, if not all of it could be written: half a reply must not go
    /// out as if it were whole. Does nothing if there is no file; whoever opens it will report
    /// that.
    void write(const std::function<void(std::ostream&)>& contents) const;

  private:
    tolva::Descriptor fd_;
    bool made_;
};
