// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/run/forked_process.h"
#include "core/run/items.h"
#include "core/run/waiting_time.h"
#include "support/descriptor.h"

namespace autoresponder {

/// A confined process did not do its work. what() says why, as the end of a message.
class ConfinedProcessError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The end of a confined process's work: what it does with the items that it gets and puts.
class ConfinedEnd {
  public:
    /// Items of the work have kinds from 16 on.
    static constexpr std::uint32_t kFirstFreeKind = 16;

    ConfinedEnd();

    ItemWriter& out() { return out_; }

    /// The next item from the process that started this one; ends this process if there is none.
    Item next();

  private:
    ItemWriter out_;
    ItemReader in_;
};

/// A process of its own that deals with what others have written, so that it may be captured by
/// them and nothing is gained:
///
///     ConfinedProcess process(text.size(), [&](ConfinedEnd& end) {
///         end.out().put(kResult, recoded(text));
///     });
///     while (const std::optional<Item> item = process.next()) { ... }
///
/// It runs as an unprivileged user (core/run/unprivileged_user.h), or as the user of this process
/// where that is not root. It has no capabilities, cannot be traced, and can do nothing but
/// compute, load charset modules and write its results (core/run/file_access.h,
/// system_call_filter.h). It has a copy of this process's memory, so it should be started before
/// there are secrets in it.
class ConfinedProcess {
  public:
    /// Starts a process that calls `work`. `size` is how many bytes of others it deals with. It may
    /// take, besides what it has of this process's, 64 MiB of memory and 20 times that size, and
    /// 10 s of processor time and 0.5 s for each MiB. It may hand over, complaints included, as
    /// much as it may take of memory, and keep this process waiting three times as long as it may
    /// compute, all in all. What `work` throws arrives here as std::runtime_error, memory exhausted
    /// there as ConfinedProcessError.
    ///
    /// Throws ConfinedProcessError if the process cannot be started.
    ConfinedProcess(std::size_t size, const std::function<void(ConfinedEnd&)>& work);

    /// Puts an item for the process. To be followed by flush. Throws ConfinedProcessError.
    void put(std::uint32_t kind, std::string_view bytes) { out_.put(kind, bytes); }
    void flush();

    /// The next item from the process, valid until the next call; null when the work is done. What
    /// the process writes to its standard output and error goes to the standard error of this one
    /// meanwhile. Throws ConfinedProcessError, and what `work` has thrown.
    std::optional<Item> next();

  private:
    tolva::Descriptor start(const std::function<void(ConfinedEnd&)>& work);
    std::size_t receive(std::span<char> bytes);
    void wait_for(std::span<pollfd> streams);
    bool is_within_share(std::size_t count);
    void pass_complaints_on();
    [[noreturn]] void fail();

    std::size_t size_;
    std::size_t received_ = 0;
    WaitingTime waiting_;
    tolva::Descriptor complaints_;
    std::optional<ForkedProcess> process_;
    tolva::Descriptor socket_;
    ItemWriter out_;
    ItemReader in_;
};

/// Why reading what others wrote is less confined on this machine than it could be, as ends of
/// messages; none if it is not.
std::vector<std::string> missing_confinement();

}  // namespace autoresponder
