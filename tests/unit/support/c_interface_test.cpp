#include "tests/unit/support/c_interface.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"

namespace {

TEST(CInterface, Configuration) {
    std::string path = testing::TempDir() + "conf-XXXXXX";
    close(mkstemp(path.data()));
    std::ofstream(path) << "NAME value # comment\n";
    EXPECT_TRUE(c_reads_a_configuration(path.c_str(), "NAME", "value"));
    unlink(path.c_str());
}

TEST(CInterface, Templates) {
    EXPECT_TRUE(c_replaces_a_placeholder());
}

TEST(CInterface, StringHelpers) {
    EXPECT_TRUE(c_uses_string_helpers());
}

TEST(CInterface, Log) {
    const ChildRun run = run_in_child([] { note(c_reports_and_goes_on()); });
    EXPECT_EQ(run.noted, "1\n");
    EXPECT_EQ(run.err,
              "interface: 4\ninterface: finished\n"
              "interface: variable '_MIN_POSSIBLE' isn't found neither in /etc/tva/tva.conf nor "
              "in compile-time defaults\nnull\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(CInterface, Programs) {
    EXPECT_TRUE(c_runs_programs());
}

TEST(CInterface, Database) {
    EXPECT_TRUE(c_uses_the_database_library());
}

}  // namespace
