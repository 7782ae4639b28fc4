#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <ostream>
#include <streambuf>

#include "core/size_limit.h"

/// The stream that a reply is composed into, over a descriptor of the caller's. It fails for good
/// at the first write that fails, and as soon as more than the limit has been written to it; then
/// it takes nothing more, so that whoever feeds it can stop.
class ResponseStream : public std::ostream {
  public:
    ResponseStream(int fd, SizeLimit limit);

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
        bool write_out(const char* text, std::size_t length);
        bool write_pending();

        int fd_;
        SizeLimit limit_;
        off_t size_ = 0;  // of all that was to be written
        int error_ = 0;
        std::unique_ptr<char[]> pending_;
    };

    Buffer buffer_;
};
