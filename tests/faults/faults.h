// SPDX-License-Identifier: Apache-2.0

#pragma once

// The fixture of the fault tests: runs in which something goes wrong, and the figures.

#include <functional>
#include <string>
#include <vector>

#include "tests/system/world.h"  // IWYU pragma: export

// What the tests of the process have seen.
struct Figures {
    unsigned long tried = 0;
    unsigned long held = 0;
    unsigned long stalls = 0;
    unsigned long files_left = 0;
    unsigned long silent = 0;  // runs in which a mail was missing, cut or altered without a word
};

class Faults : public World {
  public:
    // To be called once: what the tests start besides what World::install takes, and whether to try
    // every fault rather than a sample.
    static void install(const std::string& injector, const std::string& failing_allocations,
                        bool every_fault);

    static const Figures& figures();

  protected:
    // What there is to see of a run, and what is wrong with it.
    struct Run {
        Outcome outcome;
        std::vector<std::string> complaints;
        bool stalled = false;
        bool left_files = false;
        bool silent = false;
    };

    void SetUp() override;
    void TearDown() override;

    // Runs the program, with `meanwhile` called once it is started, waits for its mail programs,
    // too, and complains unless it ends with status 0 within `seconds` and leaves no file in /tmp.
    static Run run_with_fault(const Invocation& invocation,
                              const std::function<void(const Program&)>& meanwhile, int seconds);

    // Adds the run to the figures, and fails the test if there are complaints.
    static void count(const std::string& name, const Run& run);

    // Both at once.
    static Outcome outlive(const std::string& name, const Invocation& invocation,
                           int seconds = kMostSeconds);

    // Adds failing allocations; failing_allocations.cpp tells what `which` may be. The file
    // /world/`count` gets their number.
    [[nodiscard]] static Invocation with_failing_allocation(Invocation invocation,
                                                            const std::string& which,
                                                            const std::string& count = "");
    // Adds a failing system call; inject.cpp tells what `fault` may be. The file /world/`log` gets
    // the calls.
    [[nodiscard]] static Invocation with_failing_call(Invocation invocation,
                                                      const std::string& fault,
                                                      const std::string& log = "");

    // The numbers from 1 to `count`, or about `sample` of them evenly spread.
    [[nodiscard]] static std::vector<unsigned long> numbers(unsigned long count,
                                                            unsigned long sample);
    [[nodiscard]] static bool every_fault();

    // Far from what a run takes on a busy machine, and from the 300 s that the program waits for an
    // answer of the server.
    static constexpr int kMostSeconds = 120;
};
