// SPDX-License-Identifier: Apache-2.0

// The database goes away between any two statements of a run, or in the middle of one.

#include <sys/prctl.h>

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/faults/database_tap.h"
#include "tests/faults/full_run.h"

namespace {

class LostDatabase : public FullRun {
  protected:
    static Invocation through_tap() {
        Invocation invocation = plain_start();
        invocation.environment["MYSQL_UNIX_PORT"] = DatabaseTap::kSocket;
        return invocation;
    }

    unsigned long packets() {
        const DatabaseTap tap([](unsigned long /*packet*/) { return Cut::kNever; });
        rehearse(through_tap());
        EXPECT_GT(tap.packets(), 20U);
        return tap.packets();
    }

    // Has `what_happens` called at one packet of a run, for each of them in turn.
    void at_each_packet(const std::string& name, unsigned long sample,
                        const std::function<Cut()>& what_happens) {
        for (const unsigned long chosen : numbers(packets(), sample)) {
            const DatabaseTap tap([&](unsigned long packet) {
                return packet == chosen ? what_happens() : Cut::kNever;
            });
            endure({.name = name + " " + std::to_string(chosen), .invocation = through_tap()});
        }
    }
};

TEST_F(LostDatabase, BeforeEachPacket) {
    at_each_packet("lost before packet", 10, [] { return Cut::kBefore; });
}

TEST_F(LostDatabase, BeforeEachAnswer) {
    at_each_packet("lost before the answer to packet", 10, [] { return Cut::kBeforeAnswer; });
}

TEST_F(LostDatabase, InTheMiddleOfEachAnswer) {
    at_each_packet("lost in the answer to packet", 10, [] { return Cut::kInAnswer; });
}

TEST_F(LostDatabase, ForGood) {
    at_each_packet("lost for good before packet", 1, [] { return Cut::kForGood; });
}

TEST_F(LostDatabase, WithTheSessionKilledBetweenAnyTwoStatements) {
    at_each_packet("session killed before packet", 10, [] {
        for (const Row& session :
             sql("select id from information_schema.processlist where user='admin'")) {
            sql("kill " + session[0].value());
        }
        return Cut::kNever;
    });
}

TEST_F(LostDatabase, WithTheServerRestartedBetweenAnyTwoStatements) {
    at_each_packet("server restarted before packet", 1, [] {
        // The server is not to become a child of this process, which waits for its children.
        prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0);
        database().restart([] {});
        prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
        sql("set global general_log = off");
        return Cut::kNever;
    });
}

}  // namespace
