// SPDX-License-Identifier: Apache-2.0

#include "tests/faults/faults.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInjector = "/world/bin/inject";
constexpr const char* kFailingAllocations = "/world/bin/failing_allocations.so";

bool every_fault_is_tried = false;
Figures all_figures;

// Those that outlive the program have become children of this process. False when they go on.
bool mail_programs_end() {
    for (const auto begin = Clock::now(); Clock::now() - begin < std::chrono::seconds(120);) {
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0) {
            return true;
        }
        if (ended == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    return false;
}

// Removes what is in /tmp now and was not before, which was files at most: the tree that the tests
// were built from may be there, too.
void remove_files(const std::vector<std::string>& now, const std::vector<std::string>& before) {
    for (const std::string& name : now) {
        if (std::find(before.begin(), before.end(), name) == before.end()) {
            fs::remove("/tmp/" + name);
        }
    }
}

}  // namespace

void Faults::install(const std::string& injector, const std::string& failing_allocations,
                     bool every_fault) {
    fs::copy_file(injector, kInjector, fs::copy_options::overwrite_existing);
    fs::copy_file(failing_allocations, kFailingAllocations, fs::copy_options::overwrite_existing);
    every_fault_is_tried = every_fault;
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

const Figures& Faults::figures() {
    return all_figures;
}

bool Faults::every_fault() {
    return every_fault_is_tried;
}

std::vector<unsigned long> Faults::numbers(unsigned long count, unsigned long sample) {
    // The sanitizers make a run many times as expensive.
    const unsigned long some = kSanitized ? (sample + 2) / 3 : sample;
    const unsigned long tries = every_fault_is_tried ? count : std::min(count, some);
    std::vector<unsigned long> all;
    for (unsigned long i = 0; i < tries; ++i) {
        all.push_back(1 + i * count / tries);
    }
    return all;
}

void Faults::SetUp() {
    World::SetUp();
    sql("set global general_log = off");
}

void Faults::TearDown() {
    sql("set global general_log = on");
}

Invocation Faults::with_failing_call(Invocation invocation, const std::string& fault,
                                     const std::string& log) {
    invocation.path = kInjector;
    invocation.environment["ASAN_OPTIONS"] = "detect_leaks=0";  // which needs ptrace(2) itself
    if (!log.empty()) {
        invocation.arguments = {"--log", "/world/" + log};
    }
    invocation.arguments.push_back(fault);
    invocation.arguments.emplace_back(program_path());
    return invocation;
}

Invocation Faults::with_failing_allocation(Invocation invocation, const std::string& which,
                                           const std::string& count) {
    invocation.environment["LD_PRELOAD"] = kFailingAllocations;
    invocation.environment["FAILING_ALLOCATION"] = which;
    if (!count.empty()) {
        invocation.environment["ALLOCATION_COUNT"] = "/world/" + count;
    }
    return invocation;
}

Faults::Run Faults::run_with_fault(const Invocation& invocation,
                                   const std::function<void(const Program&)>& meanwhile,
                                   int seconds) {
    forget_mails();
    Run run;
    const std::vector<std::string> before = temporary_files();
    const auto begin = Clock::now();
    auto program = start(invocation);
    if (meanwhile) {
        meanwhile(*program);
    }
    try {
        Finished finished = program->wait(seconds);
        run.outcome.out = std::move(finished.out);
        run.outcome.err = std::move(finished.err);
        run.outcome.usage = finished.usage;
        if (finished.status != 0) {
            run.complaints.push_back("status " + std::to_string(finished.status));
        }
    } catch (const std::runtime_error& error) {
        run.complaints.emplace_back(error.what());
        run.stalled = true;
        program.reset();  // which kills it
    }
    run.stalled |= Clock::now() - begin > std::chrono::seconds(seconds);
    if (run.stalled) {
        run.complaints.emplace_back("it took too long");
    }
    if (!mail_programs_end()) {
        run.complaints.emplace_back("a mail program does not end");
    }
    const std::vector<std::string> left = temporary_files();
    if (left != before) {
        run.left_files = true;
        run.complaints.push_back("files in /tmp: " + testing::PrintToString(left));
        remove_files(left, before);
    }
    run.outcome.mails = captured_mails();
    return run;
}

void Faults::count(const std::string& name, const Run& run) {
    ++all_figures.tried;
    all_figures.held += run.complaints.empty() ? 1 : 0;
    all_figures.stalls += run.stalled ? 1 : 0;
    all_figures.files_left += run.left_files ? 1 : 0;
    all_figures.silent += run.silent ? 1 : 0;
    if (!run.complaints.empty()) {
        ADD_FAILURE() << name << ": " << testing::PrintToString(run.complaints)
                      << "\nstandard error: " << run.outcome.err;
    }
}

Outcome Faults::outlive(const std::string& name, const Invocation& invocation, int seconds) {
    Run run = run_with_fault(invocation, {}, seconds);
    count(name, run);
    return std::move(run.outcome);
}
