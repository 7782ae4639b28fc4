// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <ostream>

#include <ext/stdio_filebuf.h>

/// Closes a stdio stream that popen(3) opened: waits for its process.
struct PipeCloseStrategy {
    static void close(FILE* handle) noexcept { pclose(handle); }
};

/// The output direction of a stream.
class OutputStreamStrategy {
  protected:
    static constexpr std::ios_base::openmode mode() { return std::ios_base::out; }
};

/// A std::ostream over something that has a descriptor: a bare descriptor, or a FILE* that
/// CloseStrategy knows how to close. It owns what it is built over from the call on, even if it
/// cannot be used or constructed: a stream that cannot be used has badbit set from the start, and
/// the constructors throw std::bad_alloc, after closing, if there is no memory for the buffer.
///
/// The destructor writes what is still in the buffer, then closes: a process that reads from a
/// FILE* has been sent everything before pclose(3) waits for it. A failure at that point goes
/// unreported: to know of it, flush first and look at the stream's state. If closing throws all the
/// same, the program ends in std::terminate, as destructors are noexcept.
///
/// SIGPIPE is the caller's business: a process that keeps its default dies when the reader has
/// gone; one that ignores it gets badbit from the write that fails.
template <class CloseStrategy, class StreamStrategy>
class basic_handlestream : public std::ostream, protected StreamStrategy {
  public:
    /// Over a descriptor open for writing, which the stream closes.
    explicit basic_handlestream(int descriptor)
        : std::ostream(nullptr), buffer_(descriptor, StreamStrategy::mode(), kBufferSize) {
        if (!buffer_.is_open()) {
            ::close(descriptor);
        }
        start();
    }

    /// Over a stdio stream open for writing, for example from popen(3). What was written to it
    /// before is kept in order; nothing must be written to it directly afterwards. Null, which
    /// popen returns on failure, makes a stream that cannot be used.
    explicit basic_handlestream(FILE* handle)
        : std::ostream(nullptr), handle_(handle), buffer_(open_buffer(handle)) {
        start();
    }

    basic_handlestream(const basic_handlestream&) = delete;
    basic_handlestream& operator=(const basic_handlestream&) = delete;
    basic_handlestream(basic_handlestream&&) = delete;
    basic_handlestream& operator=(basic_handlestream&&) = delete;

    ~basic_handlestream() override {
        // Not left to the buffer's destructor, which swallows exceptions. Over a FILE* this only
        // writes what is pending; the handle, which is closed after it, owns the descriptor.
        buffer_.close();
    }

  private:
    struct Closer {
        void operator()(FILE* handle) const noexcept { CloseStrategy::close(handle); }
    };
    using FileBuffer = __gnu_cxx::stdio_filebuf<char>;
    static constexpr std::size_t kBufferSize = 8192;

    static FileBuffer open_buffer(FILE* handle) {
        return handle != nullptr ? FileBuffer(handle, StreamStrategy::mode(), kBufferSize)
                                 : FileBuffer();
    }

    // The base is constructed before the buffer, and gets it here.
    void start() {
        rdbuf(&buffer_);
        if (!buffer_.is_open()) {
            setstate(std::ios_base::badbit);
        }
    }

    std::unique_ptr<FILE, Closer> handle_;  // null over a bare descriptor
    FileBuffer buffer_;
};

/// An output stream over the write end of a pipe. When it is destroyed, the reader gets
/// end-of-file; waiting for the reader is left to the caller.
class ofd_pipestream : public basic_handlestream<PipeCloseStrategy, OutputStreamStrategy> {
  public:
    /// Takes ownership of fd.
    explicit ofd_pipestream(int fd);
};
