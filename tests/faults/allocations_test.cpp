// Every allocation of a run fails in turn, alone or with all that follow.

#include <string>
#include <fstream>
#include <iostream>

#include <gtest/gtest.h>

#include "tests/faults/faults.h"

namespace {

class Allocations : public Faults {
  protected:
    unsigned long count() {
        run(failing_allocation("0", "allocations"));
        return std::stoul(world_file("allocations"));
    }
};

TEST_F(Allocations, EachOfThemFails) {
    const unsigned long all = count();
    std::printf("%lu allocations\n", all);
    for (const unsigned long number : numbers(all, 80)) {
        endure({"allocation " + std::to_string(number),
                failing_allocation(std::to_string(number))});
    }
}

TEST_F(Allocations, EachOfThemAndAllLaterOnesFail) {
    const unsigned long all = count();
    for (const unsigned long number : numbers(all, 80)) {
        endure({"allocations from " + std::to_string(number),
                failing_allocation(std::to_string(number) + "+")});
    }
}

TEST_F(Allocations, Gdb) {
    const char* number = std::getenv("FAULTS_GDB");
    if (number == nullptr) {
        return;
    }
    Invocation invocation = failing_allocation(number);
    invocation.path = "/usr/bin/gdb";
    invocation.environment.erase("LD_PRELOAD");
    invocation.environment.erase("FAILING_ALLOCATION");
    std::ofstream("/world/message") << invocation.message;
    invocation.arguments = {"-q", "-batch", "-ex", "handle SIGSEGV stop", "-ex", "set startup-with-shell on",
        "-ex", "set exec-wrapper env LD_PRELOAD=/world/bin/failing_allocations.so FAILING_ALLOCATION=" + std::string(number), "-ex", "run < /world/message", "-ex", "bt 25", program_path()};
    const Outcome outcome = run(invocation);
    std::cout << outcome.out << outcome.err;
}

}  // namespace
