#pragma once

#include <array>

#include "support/child_process.h"
#include "support/descriptor.h"
#include "support/output_buffer.h"

namespace tolva {

/// A stream of a child that is collected through a pipe. The pipe's read end does not block, so
/// that several can be read in turn.
class CapturedStream {
  public:
    /// target is where the text goes at the end, null until then. Without a target the stream is
    /// not collected, and the child has /dev/null in its place.
    explicit CapturedStream(char** target);

    /// Makes the pipe; reports through messlog2 when it cannot.
    bool open();

    /// What to pass for the child's stream; -1 where nothing is collected.
    int child_end() const { return child_end_.get(); }

    /// To be called once the child has its end.
    void close_child_end() { child_end_.close(); }

    /// The descriptor to wait at, -1 at end of file.
    int read_end() const { return read_end_.get(); }

    /// Reads what there is; reports through messlog2 when that fails.
    bool read();

    void close() { read_end_.close(); }
    void hand_over();

  private:
    char** target_;
    Descriptor read_end_;
    Descriptor child_end_;
    OutputBuffer text_;
};

/// Reads from the descriptor as OutputBuffer does and reports a failure through messlog2:
/// "Cannot allocate memory" or "fork_exec*: read(pipe) failed: %s\n".
OutputBuffer::Outcome read_and_report(OutputBuffer& buffer, int fd);

/// Runs the program, collects the streams and hands their texts over. Gives the status of the
/// program, or -1 with errno after reporting through messlog2. Nothing is thrown: a child that has
/// been started is always waited for.
int run_captured(const child::Streams& wanted, const std::array<CapturedStream*, 2>& captured,
                 const char* path, char* const argv[]);

}  // namespace tolva
