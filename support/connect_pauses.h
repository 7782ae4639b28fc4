// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mysql.h>

#include <chrono>
#include <cstdint>

/// Connecting again after a refusal that will pass: a mail must not go unanswered because the
/// server is being restarted or has no room for one more session.
namespace tolva::db {

/// Whether the error that the handle reports may be gone in a moment:
///
/// - there is no server at the socket, or its queue is full (2002);
/// - the connection was lost while it was opened or set up (2006, 2013), or ended by a server that
///   shuts down (1053, 1927);
/// - there are too many sessions, in all (1040) or of this user (1203, and 1226 if it names
///   max_user_connections; the other limits that it reports count by the hour);
/// - it is the node of a cluster and not, or not yet, in touch with the others (1047);
/// - the server has no memory or thread for one more session (1041, 1135).
///
/// Anything else lasts until somebody does something about it: a wrong password, a missing
/// database, a blocked host, a broken table.
bool is_passing(MYSQL* connection);

/// How long to wait after that many refusals, from 1: 50 ms at first, twice as long each time, at
/// most 800 ms; less up to half of it, as `random` has it, so that processes that were refused
/// together do not come back together.
std::chrono::milliseconds pause_after(int refusals, std::uint32_t random);

/// How long to put up with passing refusals, counted from the first one.
class Patience {
  public:
    explicit Patience(std::chrono::milliseconds total = std::chrono::seconds(5)) : total_(total) {}

    /// To be called after a passing refusal. Waits a moment and returns true, or returns false at
    /// once if patience has run out, or if the try took longer than all of it: a server that is
    /// silent is not asked twice.
    [[nodiscard]] bool wait();

    /// The limit in seconds for the next try to connect: `most` before the first refusal, what is
    /// left of the patience after it.
    [[nodiscard]] unsigned seconds_for_try(unsigned most) const;

  private:
    using Clock = std::chrono::steady_clock;

    std::chrono::milliseconds total_;
    Clock::time_point try_begin_ = Clock::now();
    Clock::time_point end_ = Clock::time_point::max();
    int refusals_ = 0;
};

}  // namespace tolva::db
