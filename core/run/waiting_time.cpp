// SPDX-License-Identifier: Apache-2.0

#include "core/run/waiting_time.h"

#include <poll.h>

#include <cerrno>

namespace autoresponder {

tolva::Result<void> WaitingTime::wait_for_input(int descriptor) {
    using Clock = std::chrono::steady_clock;
    pollfd input{.fd = descriptor, .events = POLLIN, .revents = 0};
    while (!is_over()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(left_);
        const Clock::time_point begin = Clock::now();
        const int ready = poll(&input, 1, static_cast<int>(left.count()));
        const int error = errno;
        left_ -= Clock::now() - begin;
        if (ready > 0) {
            return {};
        }
        if (ready < 0 && error != EINTR) {
            return tolva::Errno{error};
        }
    }
    return tolva::Errno{ETIMEDOUT};
}

}  // namespace autoresponder
