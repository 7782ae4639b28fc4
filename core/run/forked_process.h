// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/types.h>

#include <functional>
#include <utility>

#include "support/child_process.h"
#include "support/result.h"

namespace autoresponder {

/// A child of this process that does one thing for it, with the same program:
///
///     tolva::Result<ForkedProcess> child = ForkedProcess::start({.in = socket}, [] { ... });
///     ...
///     const int status = child->wait();
///
/// The owner ends it: with wait(), or it is killed when the object goes. It also ends with this
/// process.
class ForkedProcess {
  public:
    /// Forks (fork(2)). The child has the standard streams given, which this process keeps open,
    /// no other descriptor, and the default action for every signal. It calls `work` and ends with
    /// status 0, or with 255 if its streams cannot be connected or `work` throws.
    static tolva::Result<ForkedProcess> start(const tolva::child::Streams& streams,
                                              const std::function<void()>& work);

    ForkedProcess(ForkedProcess&& other) noexcept : id_(std::exchange(other.id_, kEnded)) {}
    ForkedProcess& operator=(ForkedProcess&&) = delete;
    ForkedProcess(const ForkedProcess&) = delete;
    ForkedProcess& operator=(const ForkedProcess&) = delete;
    ~ForkedProcess() { kill(); }

    [[nodiscard]] pid_t id() const { return id_; }

    /// Waits until it has ended. Returns its status as from waitpid(2); -1 if that cannot be had.
    int wait();

    /// Kills it, unless it has ended, and waits for that; not for long, as it may hang in a file
    /// system where the kernel cannot end it. Returns its status as wait() does.
    int kill();

  private:
    static constexpr pid_t kEnded = -1;

    explicit ForkedProcess(pid_t id) : id_(id) {}

    pid_t id_;
};

/// In a child: ends it with its parent, the process `parent`. To be called again after its user has
/// changed.
void end_with(pid_t parent);

}  // namespace autoresponder
