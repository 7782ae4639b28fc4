// SPDX-License-Identifier: Apache-2.0

#include "core/run/confined_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <utility>

#include "core/run/diagnostics.h"
#include "core/run/file_access.h"
#include "core/run/rights.h"
#include "core/run/system_call_filter.h"
#include "core/run/unprivileged_user.h"
#include "support/descriptor_passing.h"
#include "support/result.h"

namespace autoresponder {

namespace {

// Items of the confined process's own; those of its work have other kinds.
enum Kind : std::uint32_t {
    kDone = ConfinedEnd::kFirstFreeKind - 4,
    kThrown,  // what std::exception::what() said
    kMemoryExhausted,
    kRightsKept,  // the number of the error
};

constexpr std::size_t kMiB = std::size_t{1} << 20;

constexpr std::uint64_t memory_for(std::size_t size) {
    return 64 * kMiB + 20 * std::uint64_t{size};
}

constexpr unsigned seconds_for(std::size_t size) {
    return static_cast<unsigned>(10 + size / (2 * kMiB));
}

// How long the run waits for the process, all in all: on a busy machine, computing takes longer.
constexpr std::chrono::seconds most_waiting_for(std::size_t size) {
    return std::chrono::seconds(3 * seconds_for(size));
}

// Lowers the limits to these; those that are lower stay.
void limit(__rlimit_resource resource, rlim_t soft, rlim_t hard) {
    rlimit limits{};
    getrlimit(resource, &limits);
    limits.rlim_cur = std::min(limits.rlim_cur, soft);
    limits.rlim_max = std::min(limits.rlim_max, hard);
    setrlimit(resource, &limits);
}

// What this process has of its parent's, in bytes.
struct InheritedMemory {
    std::uint64_t addresses = 64 * kMiB;  // enough for the program and its libraries
    std::uint64_t data = 0;
};

// From /proc/self/statm (proc(5)).
[[maybe_unused]] InheritedMemory inherited_memory() {
    const tolva::Descriptor file(open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
    std::array<char, 256> text{};
    const auto size = tolva::read_some(file.get(), std::span(text).first(text.size() - 1));
    unsigned long addresses = 0;
    unsigned long data = 0;
    if (!size || std::sscanf(text.data(), "%lu %*u %*u %*u %*u %lu", &addresses, &data) != 2) {
        return {};
    }
    const auto page = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return {addresses * page, data * page};
}

void set_limits(std::size_t size) {
#ifndef AUTORESPONDER_SANITIZED  // the sanitizers' own memory would count
    // Neither stacks, which can be moved and made larger, nor the kernel's tables of pages that are
    // only read count as data, but both take addresses.
    const InheritedMemory inherited = inherited_memory();
    const std::uint64_t data = inherited.data + memory_for(size);
    const std::uint64_t addresses = inherited.addresses + memory_for(size);
    limit(RLIMIT_DATA, data, data);
    limit(RLIMIT_AS, addresses, addresses);
#endif
    // Beyond the soft limit there is SIGXCPU, which may be ignored, beyond the hard one SIGKILL.
    limit(RLIMIT_CPU, seconds_for(size), seconds_for(size) + 1);
    limit(RLIMIT_FSIZE, 0, 0);
    limit(RLIMIT_NPROC, 0, 0);
    limit(RLIMIT_CORE, 0, 0);
}

// In a container that has no user but root, that is all there is to be.
tolva::Result<void> give_up_rights() {
    if (geteuid() != 0) {
        return give_up_privileges();
    }
    const Identity identity = unprivileged_identity();
    const tolva::Result<void> assumed = assume(identity);
    return assumed || has_user(identity.user) ? assumed : give_up_privileges();
}

void do_work(ConfinedEnd& end, const std::function<void(ConfinedEnd&)>& work) {
    constexpr std::size_t most = 1000;
    try {
        work(end);
        end.out().put(kDone, "");
    } catch (const std::bad_alloc&) {
        end.out().put(kMemoryExhausted, "");
    } catch (const std::exception& error) {
        end.out().put(kThrown, std::string_view(error.what()).substr(0, most));
    }
}

// What the process does, from its start to its end.
void live(std::size_t size, pid_t parent, const std::function<void(ConfinedEnd&)>& work) {
    ConfinedEnd end;
    set_limits(size);
    if (const tolva::Result<void> given_up = give_up_rights(); !given_up) {
        end.out().put_number(kRightsKept, static_cast<std::uint64_t>(given_up.error()));
    } else {
        end_with(parent);
        confine_file_access();
        filter_system_calls();
        do_work(end, work);
    }
    [[maybe_unused]] const auto sent = end.out().flush();
}

[[noreturn]] void fail_to_start(int error) {
    throw ConfinedProcessError("the reading process cannot be started: " + error_text(error));
}

std::string end_of(int status, std::size_t size) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) {
        return "the reading process took more than " + std::to_string(seconds_for(size)) +
               " s of processor time";
    }
    if (WIFSIGNALED(status)) {
        return "the reading process was ended by signal " + std::to_string(WTERMSIG(status));
    }
    return "the reading process ended before it was done";
}

}  // namespace

ConfinedEnd::ConfinedEnd()
    : out_(STDIN_FILENO), in_([](std::span<char> bytes) {
          const tolva::Result<std::size_t> count = tolva::read_some(STDIN_FILENO, bytes);
          return count ? *count : 0;
      }) {}

Item ConfinedEnd::next() {
    [[maybe_unused]] const auto sent = out_.flush();
    const std::optional<Item> item = in_.next();
    if (!item) {
        _exit(EXIT_SUCCESS);
    }
    return *item;
}

ConfinedProcess::ConfinedProcess(std::size_t size, const std::function<void(ConfinedEnd&)>& work)
    : size_(size),
      waiting_(most_waiting_for(size)),
      socket_(start(work)),
      out_(socket_.get(),
           [this] {
               pollfd stream{socket_.get(), POLLOUT, 0};
               wait_for({&stream, 1});
           }),
      in_([this](std::span<char> bytes) { return receive(bytes); }) {}

tolva::Descriptor ConfinedProcess::start(const std::function<void(ConfinedEnd&)>& work) {
    tolva::Result<tolva::SocketPair> sockets = tolva::make_socket_pair(SOCK_STREAM);
    if (!sockets) {
        fail_to_start(sockets.error());
    }
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    if (!pipe) {
        fail_to_start(pipe.error());
    }
    const auto output = tolva::opened(fcntl(pipe->write_end.get(), F_DUPFD_CLOEXEC, 0));
    if (!output) {
        fail_to_start(output.error());
    }
    const pid_t parent = getpid();
    tolva::Result<ForkedProcess> process = ForkedProcess::start(
        {.in = sockets->second.get(), .out = output->get(), .err = pipe->write_end.get()},
        [&] { live(size_, parent, work); });
    if (!process) {
        fail_to_start(process.error());
    }
    process_.emplace(std::move(*process));
    complaints_ = std::move(pipe->read_end);
    fcntl(complaints_.get(), F_SETFL, O_NONBLOCK);
    return std::move(sockets->first);
}

void ConfinedProcess::flush() {
    if (!out_.flush()) {
        fail();
    }
}

std::optional<Item> ConfinedProcess::next() {
    const std::optional<Item> item = in_.next();
    if (!item) {
        fail();
    }
    switch (item->kind) {
        case kDone:
            socket_.close();
            complaints_.close();
            return std::nullopt;
        case kThrown:
            throw std::runtime_error(std::string(item->bytes));
        case kMemoryExhausted:
            throw ConfinedProcessError("the reading process ran out of memory");
        case kRightsKept:
            throw ConfinedProcessError(
                "the reading process cannot give up its rights: " +
                error_text(static_cast<int>(number_in(*item).value_or(EPERM))));
        default:
            return item;
    }
}

std::size_t ConfinedProcess::receive(std::span<char> bytes) {
    for (;;) {
        // The socket first: what was written to the pipe before that is then found there.
        std::array<pollfd, 2> streams = {pollfd{socket_.get(), POLLIN, 0},
                                         pollfd{complaints_.get(), POLLIN, 0}};
        wait_for(streams);
        if (streams[1].revents != 0) {
            pass_complaints_on();
        }
        if (streams[0].revents != 0) {
            const tolva::Result<std::size_t> count = tolva::read_some(socket_.get(), bytes);
            return count && is_within_share(*count) ? *count : 0;
        }
    }
}

// All waiting counts: a process that is never silent for long could go on for ever.
void ConfinedProcess::wait_for(std::span<pollfd> streams) {
    const tolva::Result<void> waited = waiting_.wait_for(streams);
    if (waited) {
        return;
    }
    process_->kill();
    throw ConfinedProcessError(waited.error() == ETIMEDOUT
                                   ? "the reading process was not done after " +
                                         std::to_string(most_waiting_for(size_).count()) + " s"
                                   : "the reading process cannot be waited for: " +
                                         error_text(waited.error()));
}

bool ConfinedProcess::is_within_share(std::size_t count) {
    received_ += count;
    return received_ <= memory_for(size_);
}

void ConfinedProcess::pass_complaints_on() {
    std::array<char, 4096> bytes;
    for (;;) {
        const tolva::Result<std::size_t> count = tolva::read_some(complaints_.get(), bytes);
        if (!count) {
            return;  // there are no more for now
        }
        if (*count == 0) {
            complaints_.close();
            return;
        }
        if (!is_within_share(*count)) {
            fail();
        }
        [[maybe_unused]] const auto written =
            tolva::write_whole(STDERR_FILENO, std::string_view(bytes.data(), *count));
    }
}

void ConfinedProcess::fail() {
    // Also where it is still there: what it says is not what it should say.
    throw ConfinedProcessError(end_of(process_->kill(), size_));
}

std::vector<std::string> missing_confinement() {
    std::vector<std::string> missing;
    if (!can_filter_system_calls()) {
        missing.emplace_back("filter system calls (seccomp)");
    }
    if (!can_confine_file_access()) {
        missing.emplace_back("confine the access to files (Landlock)");
    }
    return missing;
}

}  // namespace autoresponder
