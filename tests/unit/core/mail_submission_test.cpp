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

const char* name_of(SubmissionFailure::Step step) {
    switch (step) {
        case SubmissionFailure::Step::kPipe:
            return "pipe";
        case SubmissionFailure::Step::kStart:
            return "start";
        case SubmissionFailure::Step::kWrite:
            return "write";
    }
    return "unknown";
}

TEST_F(SubmitText, TellsThatAShortTextWasNotTaken) {
    replace_mail_program("exec 0<&-; touch /world/closed\n");
    const ChildRun run = testing_support::run_beside_world([] {
        signal(SIGPIPE, SIG_IGN);
        const auto failure = submit_text("a@example.com", "b@example.org", [](std::ostream& out) {
            note("closed:", soon([] { return std::filesystem::exists("/world/closed"); }));
            out << "Subject: short\n";
        });
        note("failed:", failure ? name_of(failure->step) : "nothing");
    });
    EXPECT_EQ(run.noted, "closed: true\nfailed: write\n");
}

}  // namespace
