// SPDX-License-Identifier: Apache-2.0

#include "core/run/settings.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/conf.h"
#include "support/log.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/private_directory.h"

namespace {

using namespace autoresponder;

constexpr int kEveryLevel = 100;

class SettingsInPrivateEtc : public testing::Test {
  protected:
    void SetUp() override {
        if (!can_make_private("/etc")) {
            GTEST_SKIP() << "needs root or user namespaces";
        }
    }

    // Reads the settings, and notes them, in a process that finds that text in the configuration
    // file; without the file if it is null.
    static ChildRun read(const std::optional<std::string>& configuration) {
        return run_in_child([&] {
            if (!make_private("/etc") || mkdir("/etc/tva", 0755) != 0) {
                std::exit(1);
            }
            if (configuration) {
                std::ofstream(tvaConfPath(), std::ios::binary) << *configuration;
            }
            const Settings settings = read_settings();
            note("people:", settings.audience == Audience::kOnlyPeople,
                 "verdicts:", settings.verdicts);
        });
    }
};

TEST_F(SettingsInPrivateEtc, AreOffByDefault) {
    const ChildRun run = read("");
    EXPECT_EQ(run.noted, "people: false verdicts: false\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(SettingsInPrivateEtc, AreOnWhereTheyAreTrueInAnyLetterCase) {
    EXPECT_EQ(read("AUTORESPONDER_ONLY_PEOPLE true\n").noted, "people: true verdicts: false\n");
    EXPECT_EQ(read("AUTORESPONDER_VERDICTS true\n").noted, "people: false verdicts: true\n");
    EXPECT_EQ(read("AUTORESPONDER_ONLY_PEOPLE\tTRUE # yes\nAUTORESPONDER_VERDICTS True\n").noted,
              "people: true verdicts: true\n");
}

TEST_F(SettingsInPrivateEtc, AreOffWhateverElseTheyAre) {
    for (const std::string value : {"false", "yes", "1", "on", "truely", "tru", "\"true\""}) {
        EXPECT_EQ(read("AUTORESPONDER_ONLY_PEOPLE " + value + "\n").noted,
                  "people: false verdicts: false\n")
            << value;
        EXPECT_EQ(read("AUTORESPONDER_VERDICTS " + value + "\n").noted,
                  "people: false verdicts: false\n")
            << value;
    }
}

TEST_F(SettingsInPrivateEtc, AreOffWithoutAConfiguration) {
    EXPECT_EQ(read(std::nullopt).noted, "people: false verdicts: false\n");
}

TEST_F(SettingsInPrivateEtc, AreNoReasonToReportAFailureTwice) {
    const ChildRun run = run_in_child([] {
        if (!make_private("/etc")) {
            std::exit(1);
        }
        tolva_log_init("console", kEveryLevel, 0, 0, nullptr);
        const Settings settings = read_settings();
        note("people:", settings.audience == Audience::kOnlyPeople);
    });
    EXPECT_EQ(run.noted, "people: false\n");
    EXPECT_EQ(run.err,
              "unable to open configuration file /etc/tva/tva.conf: No such file or directory\n\n");
}

}  // namespace
