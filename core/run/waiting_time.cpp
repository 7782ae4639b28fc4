// SPDX-License-Identifier: Apache-2.0

#include "core/run/waiting_time.h"

#include <cerrno>

namespace autoresponder {

tolva::Result<void> WaitingTime::wait_for_input(int descriptor) {
    pollfd input{.fd = descriptor, .events = POLLIN, .revents = 0};
    return wait_for({&input, 1});
}

tolva::Result<void> WaitingTime::wait_for(std::span<pollfd> streams) {
    using Clock = std::chrono::steady_clock;
    while (!is_over()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(left_);
        const Clock::time_point begin = Clock::now();
        const int ready = poll(streams.data(), streams.size(), static_cast<int>(left.count()));
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
