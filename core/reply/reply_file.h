// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "core/reply/size_limit.h"
#include "support/descriptor.h"
#include "support/result.h"

namespace autoresponder {

/// A reply cannot be sent. The failure has been reported in detail by then; what() is what the log
/// records.
class SendError : public std::runtime_error {
  public:
    /// `error` is the errno value of the cause, 0 if that is not an error of the system.
    SendError(const std::string& what, int error) : std::runtime_error(what), error_(error) {}

    [[nodiscard]] int error() const { return error_; }

  private:
    int error_;
};

/// The file that a reply is composed in and sent from.
class ReplyFile {
  public:
    enum class Written { kWhole, kTooLarge };

    enum class Place {
        kTmp,     ///< a file in /tmp, readable by its owner only and removed with this object
        kMemory,  ///< for a reply that is not sent
    };

    /// Makes the file. The name of one in /tmp, `resp_uu_file_name`, is new for each reply of a
    /// run. If the file cannot be made, the first write reports why.
    explicit ReplyFile(Place place);

    ~ReplyFile();
    ReplyFile(const ReplyFile&) = delete;
    ReplyFile& operator=(const ReplyFile&) = delete;

    /// Replaces the contents of the file by what `contents` writes, as far as it keeps within
    /// `limit` (see ReplyStream).
    ///
    /// Throws SendError, with the reason on standard error, if not all of it could be written: half
    /// a reply must not go out as if it were whole.
    Written write(SizeLimit limit, const std::function<void(std::ostream&)>& contents) const;

    /// The file, which has been written, opened for reading from its start. Throws SendError, with
    /// the reason on standard error, if that fails.
    [[nodiscard]] tolva::Descriptor open() const;

  private:
    Place place_;
    tolva::Result<tolva::Descriptor> file_;
};

}  // namespace autoresponder
