// Prints how the cost of reading each hostile shape grows when the shape grows tenfold. Ends with
// status 1 when one grows by more than a factor of twelve.

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

double cpu_seconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Drives everything else out of the processor's caches, so that a message that fits into them costs
// no less per byte than one that does not.
void empty_caches() {
    static std::vector<char> other(96U << 20);
    for (std::size_t i = 0; i < other.size(); i += 64) {
        ++other[i];
    }
}

// Processor seconds for one reading in a process of its own, as the program has: what an earlier
// reading left in the heap makes none cheaper.
double cost_in_child(const DwString& message) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const double start = cpu_seconds();
        read_with_mimelib(message);
        const double cost = cpu_seconds() - start;
        const ssize_t written = ::write(pipe[1], &cost, sizeof cost);
        ::_exit(written == static_cast<ssize_t>(sizeof cost) ? 0 : 1);
    }
    ::close(pipe[1]);
    double cost = 0;
    const ssize_t got = ::read(pipe[0], &cost, sizeof cost);
    ::close(pipe[0]);
    if (child < 0 || ::waitpid(child, nullptr, 0) != child ||
        got != static_cast<ssize_t>(sizeof cost)) {
        throw std::runtime_error("the reading failed");
    }
    return cost;
}

// The best of several readings.
double cost(const std::string& text) {
    const DwString message(text.data(), text.size());
    double best = 1e9;
    for (int run = 0; run < 7; ++run) {
        empty_caches();
        best = std::min(best, cost_in_child(message));
    }
    return best;
}

}  // namespace

int main() try {
    std::printf("%-36s %12s %12s %8s\n", "shape", "tenth, ms", "whole, ms", "ratio");
    bool linear = true;
    for (const HostileShape& shape : hostile_shapes()) {
        const double small = cost(shape.make(shape.size / 10));
        const double large = cost(shape.make(shape.size));
        std::printf("%-36s %12.3f %12.3f %8.1f\n", shape.name.c_str(), small * 1e3, large * 1e3,
                    large / small);
        linear = linear && large / small <= kLargestRatio;
    }
    return linear ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "mimelib_growth: %s\n", error.what());
    return 1;
}
