#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdio>
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
/// CloseStrategy knows how to close. It owns what it is built over, also when it cannot be used;
/// a stream that cannot be used has badbit set from the start.
///
/// The destructor writes what is still in the buffer, then closes. For a FILE* that means that the
/// process behind it has been sent everything before pclose(3) waits for it. A failure at that
/// point goes unreported: who wants to know flushes first and looks at the stream's state. Should
/// closing throw all the same, the program ends in std::terminate, as destructors are noexcept.
///
/// SIGPIPE is the caller's business: a process that keeps its default dies when the reader has
/// gone; one that ignores it gets badbit on the write that fails.
template <class CloseStrategy, class StreamStrategy>
class basic_handlestream : public std::ostream, protected StreamStrategy {
  public:
    /// Over a descriptor open for writing, which the stream closes.
    explicit basic_handlestream(int descriptor)
        : std::ostream(nullptr),
          handle_(nullptr),
          buffer_(descriptor, StreamStrategy::mode(), kBufferSize) {
        if (!buffer_.is_open()) {
            ::close(descriptor);
        }
        start();
    }

    /// Over a stdio stream open for writing, for example from popen(3). What was written to it
    /// before is kept in order; nothing must be written to it directly afterwards. Null, as popen
    /// gives on failure, makes a stream that cannot be used.
    explicit basic_handlestream(FILE* handle)
        : std::ostream(nullptr), handle_(handle), buffer_(open_buffer(handle)) {
        start();
    }

    basic_handlestream(const basic_handlestream&) = delete;
    basic_handlestream& operator=(const basic_handlestream&) = delete;
    basic_handlestream(basic_handlestream&&) = delete;
    basic_handlestream& operator=(basic_handlestream&&) = delete;

    ~basic_handlestream() override {
        // A buffer over a FILE* does not own the descriptor: closing it only writes what is pending
        // and lets go. It has to come first, because pclose leaves no descriptor to write to.
        buffer_.close();
        if (handle_ != nullptr) {
            CloseStrategy::close(handle_);
        }
    }

  private:
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

    FILE* handle_;
    FileBuffer buffer_;
};

/// An output stream over the write end of a pipe. Its destruction gives the reader end-of-file;
/// waiting for the reader is left to the caller.
class ofd_pipestream : public basic_handlestream<PipeCloseStrategy, OutputStreamStrategy> {
  public:
    /// Takes ownership of fd.
    explicit ofd_pipestream(int fd);
};
