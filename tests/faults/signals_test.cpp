// SPDX-License-Identifier: Apache-2.0

// Signals at random times of a run.

#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/faults/full_run.h"

namespace {

class SignalsAtRandom : public FullRun {
  protected:
    // Whether the program has the last of its handlers. Before, it can do nothing about a signal.
    static bool handles_signals(const Program& program) {
        std::ifstream status("/proc/" + std::to_string(program.pid()) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("SigCgt:")) {
                const std::uint64_t caught = std::stoull(line.substr(7), nullptr, 16);
                return (caught >> static_cast<unsigned>(SIGXFSZ - 1) & 1U) != 0;
            }
        }
        return false;
    }
};

TEST_F(SignalsAtRandom, TheRunEndsOrGoesOn) {
    constexpr std::array signals = {SIGTERM, SIGINT,  SIGHUP,  SIGQUIT, SIGALRM, SIGSEGV,
                                    SIGABRT, SIGBUS,  SIGPIPE, SIGXFSZ, SIGCHLD, SIGUSR1,
                                    SIGUSR2, SIGXCPU, SIGCONT, SIGWINCH};
    std::mt19937 generator(1);  // NOLINT(cert-msc51-cpp): the same times in every run
    std::uniform_int_distribution<int> microseconds(0, kSanitized ? 150'000 : 25'000);
    for (int i = 0; i < (every_fault() ? 1600 : 16); ++i) {
        const int signal = signals[static_cast<std::size_t>(i) % signals.size()];
        const int pause = microseconds(generator);
        endure({.name = "SIG" + std::string(sigabbrev_np(signal)) + " after " +
                        std::to_string(pause) + " us",
                .invocation = plain_start(),
                .meanwhile = [&](const Program& program) {
                    soon([&] { return handles_signals(program); });
                    std::this_thread::sleep_for(std::chrono::microseconds(pause));
                    program.signal(signal);
                }});
    }
}

}  // namespace
