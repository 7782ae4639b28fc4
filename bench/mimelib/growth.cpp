// SPDX-License-Identifier: Apache-2.0

// Prints how the time for reading each hostile shape grows when the shape grows tenfold, and how
// much memory the reading takes, in multiples of the message and beyond it. Ends with status 1 when
// a time grows by more than a factor of twelve or the memory is more than four times the message.

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include "bench/mimelib/messages.h"
#include "bench/mimelib/readers.h"

namespace {

constexpr double kLargestRatio = 12;
constexpr double kMostMemory = 4;

struct Cost {
    double seconds = 0;
    double bytes = 0;
};

double cpu_seconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// The most memory that the process has had so far.
double peak_bytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
}

// Evicts everything else from the processor's caches, so that a message that fits into them costs
// as much per byte as one that does not.
void empty_caches() {
    static std::vector<char> other(96U << 20);
    for (std::size_t i = 0; i < other.size(); i += 64) {
        ++other[i];
    }
}

// One reading in a process of its own, as the program has: what an earlier reading left in the heap
// makes none cheaper. The child starts with the parent's memory, the message included.
Cost cost_in_child(const DwString& message) {
    ::malloc_trim(0);
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const double start = cpu_seconds();
        const double bytes = peak_bytes();
        read_with_mimelib(message);
        const Cost cost = {cpu_seconds() - start, peak_bytes() - bytes};
        const ssize_t written = ::write(pipe[1], &cost, sizeof cost);
        ::_exit(written == static_cast<ssize_t>(sizeof cost) ? 0 : 1);
    }
    ::close(pipe[1]);
    Cost cost;
    const ssize_t got = ::read(pipe[0], &cost, sizeof cost);
    ::close(pipe[0]);
    if (child < 0 || ::waitpid(child, nullptr, 0) != child ||
        got != static_cast<ssize_t>(sizeof cost)) {
        throw std::runtime_error("the reading failed");
    }
    return cost;
}

// The shortest time and the most memory of several readings.
Cost cost(const DwString& message) {
    Cost all = {1e9, 0};
    for (int run = 0; run < 7; ++run) {
        empty_caches();
        const Cost one = cost_in_child(message);
        all = {std::min(all.seconds, one.seconds), std::max(all.bytes, one.bytes)};
    }
    return all;
}

DwString message_of(const HostileShape& shape, std::size_t size) {
    const std::string text = shape.make(size);
    return {text.data(), text.size()};
}

}  // namespace

int main() try {
    std::printf("%-36s %12s %12s %8s %8s\n", "shape", "tenth, ms", "whole, ms", "ratio", "memory");
    bool cheap = true;
    for (const HostileShape& shape : hostile_shapes()) {
        const double small = cost(message_of(shape, shape.size / 10)).seconds;
        const DwString message = message_of(shape, shape.size);
        const auto [large, bytes] = cost(message);
        const double ratio = large / small;
        const double memory = bytes / static_cast<double>(message.length());
        std::printf("%-36s %12.3f %12.3f %8.1f %8.2f\n", shape.name.c_str(), small * 1e3,
                    large * 1e3, ratio, memory);
        cheap = cheap && ratio <= kLargestRatio && memory <= kMostMemory;
    }
    return cheap ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "mimelib_growth: %s\n", error.what());
    return 1;
}
