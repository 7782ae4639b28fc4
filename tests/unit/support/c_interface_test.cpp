// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/c_interface.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"

namespace {

// What one of the functions saw.
template <typename Function>
std::string seen_by(Function function) {
    std::array<char, 200> seen{};
    function(seen.data(), seen.size());
    return seen.data();
}

TEST(CInterface, Configuration) {
    std::string path = testing::TempDir() + "conf-XXXXXX";
    close(mkstemp(path.data()));
    std::ofstream(path) << "NAME value # comment\n";
    EXPECT_EQ(seen_by([&path](char* seen, std::size_t size) {
                  c_read_configuration(path.c_str(), seen, size);
              }),
              "0, 1 entry: value, index 1");
    unlink(path.c_str());
}

TEST(CInterface, Templates) {
    EXPECT_EQ(seen_by(c_replace_placeholder), "12<c>, 9 consumed, result 2, b at 1");
}

TEST(CInterface, StringHelpers) {
    EXPECT_EQ(seen_by(c_use_string_helpers), "3 3 a+b 0");
}

TEST(CInterface, Log) {
    const ChildRun run = run_in_child([] { note(seen_by(c_report_and_go_on)); });
    EXPECT_EQ(run.noted, "5 5\n");
    EXPECT_EQ(run.err,
              "interface: 4\ninterface: finished\n"
              "interface: variable '_MIN_POSSIBLE' isn't found neither in /etc/tva/tva.conf nor "
              "in compile-time defaults\nnull\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(CInterface, Programs) {
    EXPECT_EQ(seen_by(c_run_programs), "0 from C\n0 0 0");
}

TEST(CInterface, Database) {
    EXPECT_EQ(seen_by(c_use_database_library), "\\'a -1 null");
}

}  // namespace
