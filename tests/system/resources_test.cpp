// Signals, limits and closed descriptors: the run ends with status 0 and leaves no file behind.

#include <sys/wait.h>
#include <unistd.h>

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

class Resources : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        add_responder(1);
    }

    // Waits until `condition` holds, for some seconds at most.
    template <typename Condition>
    static bool soon(Condition condition) {
        for (int tries = 0; tries < 2000; ++tries) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
};

TEST_F(Resources, ASignalWhileTheMessageComesInLeavesNothing) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(number);
        const std::vector<std::string> before = temporary_files();
        const auto program = start({.message = plain_message(), .hold_input_open = true});
        ASSERT_TRUE(soon([&] { return temporary_files() != before; }));
        program->signal(number);
        EXPECT_THAT(settle(*program, before).mails, IsEmpty());
    }
}

TEST_F(Resources, ASignalWhileAMailProgramRunsLeavesNothing) {
    mail_program_behaves("linger");
    const std::string captured = std::string(kMailDirectory) + "/1.facts";
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(number);
        std::filesystem::remove(captured);
        std::filesystem::remove(std::string(kMailDirectory) + "/1.arguments");
        const std::vector<std::string> before = temporary_files();
        const auto program = start({.message = plain_message()});
        ASSERT_TRUE(soon([&] { return std::filesystem::exists(captured); }));
        program->signal(number);
        const Outcome outcome = settle(*program, before);
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].message, plain_reply());
        // The mail program is given the time to end, so that it does not disturb what follows.
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
    }
}

TEST_F(Resources, ClosedStreamsNeverFailTheDelivery) {
    add_attachment(1, "directory");
    std::filesystem::create_directories(attachment_path("directory"));
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0}, {1}, {2}, {1, 2}, {0, 1, 2}}) {
        run({.message = plain_message(), .closed = closed});
    }
}

TEST_F(Resources, WhatIsReportedOnAClosedStreamDoesNotReachAnyMail) {
    // Without standard streams the files of the run could get their descriptors.
    add_forward(1, "copy@example.net");
    add_attachment(1, "directory");
    std::filesystem::create_directories(attachment_path("directory"));
    const std::vector<Submission> open_streams = answer(plain_message()).mails;
    ASSERT_THAT(open_streams, SizeIs(2));
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{1}, {2}, {1, 2}}) {
        SCOPED_TRACE(closed.size());
        const Outcome outcome = run({.message = plain_message(), .closed = closed});
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_EQ(outcome.mails[0].message, open_streams[0].message);
        EXPECT_EQ(outcome.mails[1].message, open_streams[1].message);
    }
}

TEST_F(Resources, FewOpenFilesNeverFailTheDelivery) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers open pipes for their checks";
    }
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    add_attachment(1, "here.txt");
    write_attachment("here.txt", "A");
    for (rlim_t limit = 4; limit < 16; ++limit) {
        SCOPED_TRACE(limit);
        run({.message = plain_message(), .limits = {{RLIMIT_NOFILE, limit}}});
    }
}

TEST_F(Resources, ASmallLimitOfFileSizeNeverFailsTheDelivery) {
    add_forward(1, "copy@example.net");
    const std::string message = message_with({"Subject: Hello"}, std::string(100'000, 'x'));
    for (const rlim_t limit : {0UL, 1UL, 4096UL, 65536UL}) {
        SCOPED_TRACE(limit);
        run({.message = message, .limits = {{RLIMIT_FSIZE, limit}}});
    }
}

TEST_F(Resources, AFullDiskSendsNoPartOfAReply) {
    add_forward(1, "copy@example.net");
    for (const char* size : {"4k", "8k", "64k"}) {
        SCOPED_TRACE(size);
        const SmallTmp tmp("size=" + std::string(size));
        const Outcome outcome = answer(message_with({"Subject: Hello"}, std::string(100'000, 'x')));
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].arguments.back(), "copy@example.net");
        EXPECT_THAT(outcome.err, testing::HasSubstr("No space left on device (28)\n"));
    }
}

TEST_F(Resources, ExhaustedMemoryNeverFailsTheDelivery) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer needs more address space than a limit allows";
    }
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    sql("update mail_resp set text=repeat('A long text. ', 300000)");
    const std::string message = message_with({"Subject: Hello"}, std::string(2'000'000, 'x'));
    // Below the first of these limits the program itself does not fit.
    rlim_t least = 1U << 20U;
    for (;; least += 256U << 10U) {
        const auto program = start({.message = "\n", .limits = {{RLIMIT_AS, least}}});
        const int status = program->wait().status;
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
            break;
        }
    }
    const std::string line = "autoresponder: Program failed due to exhausted memory\n";
    std::size_t answered = 0;
    bool failed_before_any_mail = false;
    bool failed_in_composition = false;
    for (rlim_t limit = least; answered < 3; limit += 512U << 10U) {
        SCOPED_TRACE(limit);
        const Outcome outcome = run({.message = message, .limits = {{RLIMIT_AS, limit}}});
        EXPECT_TRUE(outcome.mails.size() == 3 || !outcome.err.empty()) << "silent loss";
        failed_before_any_mail |= outcome.mails.empty() && outcome.err == line;
        failed_in_composition |= outcome.mails.size() == 2 && outcome.err.starts_with(line) &&
                                 outcome.out == outcome.err;
        answered += outcome.mails.size() == 3 ? 1 : 0;
        ASSERT_LT(limit, 1U << 30U);
        sql("delete from resp_freq");
    }
    EXPECT_TRUE(failed_before_any_mail);
    EXPECT_TRUE(failed_in_composition);
}

TEST_F(Resources, RunsSideBySideDoNotDisturbEachOther) {
    constexpr int kRuns = 8;
    std::vector<std::unique_ptr<Program>> programs;
    programs.reserve(kRuns);
    const std::vector<std::string> before = temporary_files();
    sql("update mail_resp set ans_freq='100'");
    for (int i = 0; i < kRuns; ++i) {
        programs.push_back(start({.message = plain_message()}));
    }
    for (const std::unique_ptr<Program>& program : programs) {
        EXPECT_EQ(program->wait().err, "");
    }
    EXPECT_EQ(temporary_files(), before);
}

}  // namespace
