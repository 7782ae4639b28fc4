// SPDX-License-Identifier: Apache-2.0

#include "support/connect_pauses.h"

#include <errmsg.h>
#include <mysqld_error.h>
#include <sys/random.h>

#include <algorithm>
#include <string_view>
#include <thread>

namespace tolva::db {

namespace {

constexpr std::chrono::milliseconds kFirstPause{50};
constexpr std::chrono::milliseconds kLongestPause{800};

// Not from rand(3), whose sequence belongs to the program.
std::uint32_t random_number() {
    std::uint32_t number = 0;
    return getrandom(&number, sizeof number, GRND_NONBLOCK) == sizeof number ? number : 0;
}

}  // namespace

bool is_passing(MYSQL* connection) {
    switch (mysql_errno(connection)) {
        case CR_CONNECTION_ERROR:
        case CR_SERVER_GONE_ERROR:
        case CR_SERVER_LOST:
        case ER_SERVER_SHUTDOWN:
        case ER_CONNECTION_KILLED:
        case ER_CON_COUNT_ERROR:
        case ER_UNKNOWN_COM_ERROR:
        case ER_TOO_MANY_USER_CONNECTIONS:
        case ER_OUT_OF_RESOURCES:
        case ER_CANT_CREATE_THREAD:
            return true;
        case ER_USER_LIMIT_REACHED:
            return std::string_view(mysql_error(connection)).find("'max_user_connections'") !=
                   std::string_view::npos;
        default:
            return false;
    }
}

std::chrono::milliseconds pause_after(int refusals, std::uint32_t random) {
    std::chrono::milliseconds pause = kFirstPause;
    for (int i = 1; i < refusals && pause < kLongestPause; ++i) {
        pause *= 2;
    }
    const auto half = pause / 2;
    return pause - std::chrono::milliseconds(random % (half.count() + 1));
}

bool Patience::wait() {
    const Clock::time_point now = Clock::now();
    if (refusals_ == 0) {
        end_ = now + total_;
    }
    if (now >= end_ || now - try_begin_ >= total_) {
        return false;
    }
    ++refusals_;
    std::this_thread::sleep_until(std::min(now + pause_after(refusals_, random_number()), end_));
    try_begin_ = Clock::now();
    return true;
}

unsigned Patience::seconds_for_try(unsigned most) const {
    if (refusals_ == 0) {
        return most;
    }
    const auto left = std::chrono::ceil<std::chrono::seconds>(end_ - Clock::now());
    return static_cast<unsigned>(std::clamp<std::int64_t>(left.count(), 1, most));
}

}  // namespace tolva::db
