// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <poll.h>

#include <chrono>
#include <span>

#include "support/result.h"

namespace autoresponder {

/// How long the run may still wait for something that may never answer. Only waiting counts, not
/// what is done between.
class WaitingTime {
  public:
    using Duration = std::chrono::steady_clock::duration;

    explicit WaitingTime(Duration duration) : left_(duration) {}

    /// Waits until something happens to one of the streams (poll(2), which also describes them).
    /// ETIMEDOUT when the time has run out; then, and from then on, without waiting.
    tolva::Result<void> wait_for(std::span<pollfd> streams);

    /// Waits until there is something to read from the descriptor, or its other end is closed.
    tolva::Result<void> wait_for_input(int descriptor);

    void extend(Duration duration) { left_ += duration; }

    [[nodiscard]] bool is_over() const { return left_ <= Duration::zero(); }

  private:
    Duration left_;
};

}  // namespace autoresponder
