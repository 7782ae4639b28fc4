// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

#include "core/reply/size_limit.h"

namespace autoresponder {

/// The stream that a reply is composed into, over a descriptor of the caller's. It fails for good
/// at the first write that fails, and as soon as more than the limit has been written to it; then
/// it takes nothing more, so that whoever feeds it can stop.
class ReplyStream : public std::ostream {
  public:
    ReplyStream(int fd, SizeLimit limit);

    /// Writes what is still buffered. To be called once all has been written; after that the two
    /// below tell what became of it.
    void finish() { flush(); }

    [[nodiscard]] bool too_large() const { return buffer_.too_large(); }

    /// The errno value of the write that failed; 0 if none did.
    [[nodiscard]] int error() const { return buffer_.error(); }

  private:
    class Buffer : public std::streambuf {
      public:
        Buffer(int fd, SizeLimit limit);

        [[nodiscard]] bool too_large() const { return limit_.is_exceeded_by(size_); }
        [[nodiscard]] int error() const { return error_; }

      protected:
        int_type overflow(int_type character) override;
        std::streamsize xsputn(const char* text, std::streamsize length) override;
        int sync() override;

      private:
        bool write_out(std::string_view text);

        int fd_;
        SizeLimit limit_;
        off_t size_ = 0;  // of all that was to be written
        int error_ = 0;
        std::string pending_;
    };

    Buffer buffer_;
};

}  // namespace autoresponder
