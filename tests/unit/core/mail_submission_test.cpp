// SPDX-License-Identifier: Apache-2.0

#include <signal.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "core/send/mail_program.h"
#include "support/descriptor.h"
#include "support/pipestream.h"
#include "support/result.h"
#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"

namespace {

using namespace autoresponder;

using StartedMailProgram = World;

TEST_F(StartedMailProgram, ThatClosesItsInputMakesAShortTextFail) {
    replace_mail_program("exec 0<&-; touch /world/closed\n");
    const ChildRun run = testing_support::run_beside_world([] {
        signal(SIGPIPE, SIG_IGN);
        tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
        auto program = MailProgram::start(pipe->read_end, "a@example.com", "b@example.org");
        pipe->read_end.close();
        note("closed:", soon([] { return std::filesystem::exists("/world/closed"); }));
        ofd_pipestream out(pipe->write_end.release());
        out << "Subject: short\n";
        out.flush();
        note("written:", static_cast<bool>(out));
        note("status:", program->wait());
    });
    EXPECT_EQ(run.noted, "closed: true\nwritten: false\nstatus: 0\n");
}

TEST_F(StartedMailProgram, TellsHowItEnded) {
    replace_mail_program("exit 111\n");
    const ChildRun run = testing_support::run_beside_world([] {
        tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
        auto program = MailProgram::start(pipe->read_end, "a@example.com", "b@example.org");
        const int status = program->wait();
        note("ended:", bad_status(status));
        note("again:", program->wait());
    });
    EXPECT_EQ(run.noted, "ended: ended with status 111\nagain: 0\n");
}

}  // namespace
