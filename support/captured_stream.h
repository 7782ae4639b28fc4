// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/descriptor.h"
#include "support/output_buffer.h"

namespace tolva {

/// A stream of a child that is collected through a pipe. The pipe's read end does not block, so
/// that several can be read in turn.
class CapturedStream {
  public:
    /// The text goes to `target` at the end; `*target` is null until then. Without a target the
    /// stream is not collected, and the child writes to /dev/null.
    explicit CapturedStream(char** target);

    /// Makes the pipe; reports through messlog2 if it cannot.
    [[nodiscard]] bool open();

    /// What to pass for the child's stream; -1 if nothing is collected.
    [[nodiscard]] int child_end() const { return child_end_.get(); }

    /// To be called once the child has its end.
    void close_child_end() { child_end_.close(); }

    /// The descriptor to poll, -1 at end of file.
    [[nodiscard]] int read_end() const { return read_end_.get(); }

    /// Reads what is available; reports through messlog2 if that fails.
    [[nodiscard]] bool read();

    void close() { read_end_.close(); }
    void hand_over();

  private:
    char** target_;
    Descriptor read_end_;
    Descriptor child_end_;
    OutputBuffer text_;
};

/// Reports "fork_exec*: read(pipe) failed: %s\n" with the pending error through messlog2, which
/// keeps errno.
void report_failed_read();

/// Reads from the descriptor as OutputBuffer does and reports a failure: with report_failed_read,
/// or "Cannot allocate memory" through messlog2.
[[nodiscard]] OutputBuffer::Outcome read_and_report(OutputBuffer& buffer, int fd);

/// Runs the program with the caller's standard input, collects its standard output and, unless
/// `errors` is null, its standard error, and hands the texts over. Returns the status of the
/// program, or -1 with errno after reporting through messlog2. Nothing is thrown: a child that has
/// been started is always waited for.
[[nodiscard]] int run_captured(CapturedStream& output, CapturedStream* errors, const char* path,
                               char* const argv[]);

}  // namespace tolva
