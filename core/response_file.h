#pragma once

#include <functional>
#include <ostream>
#include <utility>

#include "core/size_limit.h"
#include "support/descriptor.h"

/// The file that a reply is composed in and sent from. It has the name `resp_uu_file_name`, which
/// is new for each reply of a run. It is readable by its owner only and removed with this object.
class ResponseFile {
  public:
    enum class Written { kWhole, kTooLarge };

    /// Makes the file. If that fails there is none: nothing is written, and reopening it fails.
    ResponseFile();

    /// Composes in `file`, which is not to be sent: it has no name, and cannot be reopened.
    explicit ResponseFile(tolva::Descriptor file) : file_(std::move(file)), named_(false) {}

    ~ResponseFile();
    ResponseFile(const ResponseFile&) = delete;
    ResponseFile& operator=(const ResponseFile&) = delete;

    /// Replaces the contents of the file by what `contents` writes, as far as it keeps within
    /// `limit` (see ResponseStream).
    ///
    /// Throws SendError, with the reason on standard error, if not all of it could be written: half
    /// a reply must not go out as if it were whole.
    Written write(SizeLimit limit, const std::function<void(std::ostream&)>& contents) const;

    /// Opens the file for reading from its start. Throws SendError, with the reason on standard
    /// error, if that fails.
    [[nodiscard]] tolva::Descriptor reopen() const;

  private:
    tolva::Descriptor file_;
    bool named_;
};
