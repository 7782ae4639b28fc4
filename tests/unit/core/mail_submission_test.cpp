#include <signal.h>

#include <filesystem>
#include <ostream>

#include <gtest/gtest.h>

#include "core/mail_program.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"

namespace {

using SubmitText = World;

TEST_F(SubmitText, TellsThatAShortTextWasNotTaken) {
    replace_mail_program("exec 0<&-; touch /world/closed\n");
    const ChildRun run = testing_support::run_beside_world([] {
        signal(SIGPIPE, SIG_IGN);
        const auto failure = submit_text("a@example.com", "b@example.org", [](std::ostream& out) {
            note("closed:", soon([] { return std::filesystem::exists("/world/closed"); }));
            out << "Subject: short\n";
        });
        note("not written:", failure && failure->step == SubmissionFailure::Step::kWrite);
    });
    EXPECT_EQ(run.noted, "closed: true\nnot written: true\n");
}

}  // namespace
