#pragma once

#include <mysql.h>

#include <chrono>
#include <cstdint>

/// Connecting again when a server refuses for a moment only: a mail that is to be answered must not
/// go without its reply because the server is being restarted or has no room for one more session.
namespace tolva::db {

/// Whether the error that the handle reports may be gone in a moment:
///
/// - there is no server at its socket, or its queue is full (2002);
/// - the connection was lost while it was made or set up (2006, 2013), or ended by the server, as
///   it does when it shuts down (1053, 1927);
/// - there are too many sessions, on the whole (1040) or of this user (1203, and 1226 where it
///   speaks of max_user_connections; its other limits count by the hour);
/// - the server has no memory or thread for one more session (1041, 1135).
///
/// All else lasts until somebody does something about it: a wrong password, a missing database, a
/// blocked host, a broken table.
bool is_passing(MYSQL* connection);

/// How long to wait before the next try after that many refusals, from 1: up to 50 ms at first,
/// twice as long each time, at most 800 ms; `random` takes away up to half of it, so that processes
/// that were refused together do not come back together.
std::chrono::milliseconds pause_after(int refusals, std::uint32_t random);

/// The time for which passing refusals are put up with, counted from the first one.
class Patience {
  public:
    explicit Patience(std::chrono::milliseconds total = std::chrono::seconds(5)) : total_(total) {}

    /// To be called after a passing refusal: waits a moment and returns true, or returns false at
    /// once when patience has run out. It does, too, after a try that took longer than all of it:
    /// a server that is silent is not asked twice.
    bool wait();

    /// A limit in seconds for the next try to connect: `most` until the first refusal, then what is
    /// left of the patience.
    unsigned seconds_for_try(unsigned most) const;

  private:
    using Clock = std::chrono::steady_clock;

    std::chrono::milliseconds total_;
    Clock::time_point try_begin_ = Clock::now();
    Clock::time_point end_ = Clock::time_point::max();
    int refusals_ = 0;
};

}  // namespace tolva::db
