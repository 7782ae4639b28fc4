// SPDX-License-Identifier: Apache-2.0

// Signals that reach the run: it ends with status 0, a line and no file, or goes on.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/system/mail_program.h"
#include "tests/system/world.h"

namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kEnded =
    "autoresponder: Ended by a signal before the message was dealt with.\n";

class Signals : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    // Sends a signal to a run that waits for the rest of its message.
    static Outcome interrupt_reading(int number) {
        const std::vector<std::string> before = temporary_files();
        const auto program = start({.message = plain_message(), .hold_input_open = true});
        EXPECT_TRUE(soon([&] { return temporary_files() != before; }));
        program->signal(number);
        return settle(*program, before);
    }
};

TEST_F(Signals, EveryOneThatEndsAProcessLeavesALineAndNoFile) {
    for (const int number :
         {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGXCPU, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF,
          SIGIO, SIGPWR, SIGSTKFLT, SIGRTMIN, SIGRTMIN + 1, SIGRTMAX}) {
        SCOPED_TRACE(number);
        const Outcome outcome = interrupt_reading(number);
        EXPECT_EQ(outcome.err, kEnded);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.mails, IsEmpty());
    }
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Signals, EveryOneOfACrashLeavesALineAndNoFile) {
    for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
        SCOPED_TRACE(number);
        const Outcome outcome = interrupt_reading(number);
        EXPECT_EQ(outcome.err, "autoresponder: Internal error, the message is not answered.\n");
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.mails, IsEmpty());
    }
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Signals, WhileAMailProgramRunsTheyLeaveALineAndNoFile) {
    mail_program_behaves("linger");
    const std::string captured = std::string(kMailDirectory) + "/1.facts";
    for (const int number : {SIGTERM, SIGSEGV}) {
        SCOPED_TRACE(number);
        std::filesystem::remove(captured);
        std::filesystem::remove(std::string(kMailDirectory) + "/1.arguments");
        const std::vector<std::string> before = temporary_files();
        const auto program = start({.message = plain_message()});
        ASSERT_TRUE(soon([&] { return std::filesystem::exists(captured); }));
        EXPECT_THAT(temporary_files(), SizeIs(before.size() + 2));
        program->signal(number);
        const Outcome outcome = settle(*program, before);
        EXPECT_EQ(outcome.err,
                  number == SIGTERM
                      ? kEnded
                      : "autoresponder: Internal error, the message is not answered.\n");
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].message, plain_reply());
        // The mail program is given the time to end, so that it does not disturb what follows.
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
    }
}

TEST_F(Signals, ThoseIgnoredAtTheStartStayIgnored) {
    const std::vector<std::string> before = temporary_files();
    const auto program =
        start({.message = plain_message(), .ignored = {SIGHUP, SIGINT}, .hold_input_open = true});
    ASSERT_TRUE(soon([&] { return temporary_files() != before; }));
    program->signal(SIGHUP);
    program->signal(SIGINT);
    program->end_input();
    const Outcome outcome = settle(*program, before);
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
    EXPECT_EQ(outcome.mails[0].ignored_signals, "0000000000000003") << "SIGHUP and SIGINT";
}

TEST_F(Signals, ThoseOfAFailedWriteDoNotInterruptTheRun) {
    const std::vector<std::string> before = temporary_files();
    const auto program = start({.message = plain_message(), .hold_input_open = true});
    ASSERT_TRUE(soon([&] { return temporary_files() != before; }));
    program->signal(SIGPIPE);
    program->signal(SIGXFSZ);
    // Time to meet the signals while it reads.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    program->end_input();
    const Outcome outcome = settle(*program, before);
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(1));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
}

TEST_F(Signals, AMailProgramThatStopsItselfDoesNotHoldTheRun) {
    add_responder(2);
    replace_mail_program("\"$CAPTURE\" \"$@\"; echo $$ >>/world/stopped; kill -STOP $$\n");
    std::filesystem::remove("/world/stopped");
    const Outcome outcome = answer(plain_message());
    for (const std::string& pid : lines_of("/world/stopped")) {
        kill(std::stoi(pid), SIGKILL);
    }
    EXPECT_EQ(outcome.err, "");
    ASSERT_THAT(outcome.mails, SizeIs(2));
    EXPECT_EQ(outcome.mails[0].message, plain_reply());
    EXPECT_EQ(outcome.mails[1].message, plain_reply());
}

}  // namespace
