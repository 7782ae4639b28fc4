// SPDX-License-Identifier: Apache-2.0

// Limits, closed descriptors and exhausted resources: the run ends with status 0, leaves no file
// behind, and says so where a mail is lost.

#include <sys/resource.h>
#include <sys/wait.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
};

TEST_F(Resources, WithoutStandardInputThereIsNoSender) {
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0}, {0, 1}, {0, 2}, {0, 1, 2}}) {
        SCOPED_TRACE(testing::PrintToString(closed));
        const Outcome outcome = run({.message = plain_message(), .closed = closed});
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_EQ(outcome.err,
                  closed.back() == 2
                      ? ""
                      : "Could not get sender's e-mail address from Reply-To: or From: headers.\n"
                        "Abnormal exit.\n");
    }
}

TEST_F(Resources, WhatIsSaidOnAClosedStreamReachesNeitherTheDatabaseNorAnyMail) {
    // Without standard streams the connection to the database or a file of the run could get their
    // descriptors. The second responder uses them after something has been said about the first.
    add_forward(1, "copy@example.net");
    add_attachment(1, "directory");
    std::filesystem::create_directories(attachment_path("directory"));
    add_responder(2, "text='Second'");
    add_forward(2, "copy@example.net");
    replace_mail_program("echo standard output; echo standard error >&2; \"$CAPTURE\" \"$@\"\n");
    const std::vector<Submission> open_streams = answer(plain_message()).mails;
    ASSERT_THAT(open_streams, SizeIs(4));
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{1}, {2}, {1, 2}}) {
        SCOPED_TRACE(testing::PrintToString(closed));
        const Outcome outcome = run({.message = plain_message(), .closed = closed});
        ASSERT_THAT(outcome.mails, SizeIs(4));
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(outcome.mails[i].message, open_streams[i].message);
            EXPECT_EQ(outcome.mails[i].arguments, open_streams[i].arguments);
        }
    }
}

TEST_F(Resources, AClosedStreamTakesWhatTheMailProgramSays) {
    replace_mail_program(
        "echo standard output || echo 'cannot be written to' >&2; exec \"$CAPTURE\" \"$@\"\n");
    const Outcome outcome = run({.message = plain_message(), .closed = {1}});
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.mails, SizeIs(1));
}

TEST_F(Resources, AClosedStreamThatNothingCanStandInForEndsTheRunInSilence) {
    add_forward(1, "copy@example.net");
    const NoDevices no_devices;
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 1, 2}}) {
        SCOPED_TRACE(testing::PrintToString(closed));
        const Outcome outcome = run({.message = plain_message(), .closed = closed});
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
        EXPECT_THAT(outcome.mails, IsEmpty());
        EXPECT_THAT(statements(), IsEmpty());
    }
    // With all of them open, the device is not needed.
    EXPECT_THAT(run({.message = plain_message()}).mails, SizeIs(2));
}

TEST_F(Resources, ManyRespondersNeedNoMoreDescriptorsThanTwo) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers open pipes for their checks";
    }
    const auto mails_with = [&](rlim_t limit) {
        sql("delete from resp_freq");
        return run({.message = plain_message(), .limits = {{RLIMIT_NOFILE, limit}}}).mails.size();
    };
    add_responder(2);
    for (int id = 1; id <= 2; ++id) {
        add_forward(id, "copy@example.net");
        add_attachment(id, "gone.txt");
        add_attachment(id, "here.txt");
    }
    write_attachment("here.txt", "A");
    rlim_t least = 4;
    while (mails_with(least) < 6) {
        ASSERT_LT(++least, 64U);
    }
    for (int id = 3; id <= 40; ++id) {
        add_responder(id);
        add_forward(id, "copy@example.net");
        add_attachment(id, "gone.txt");
        add_attachment(id, "here.txt");
    }
    EXPECT_EQ(mails_with(least), 120U);
}

TEST_F(Resources, AStackThatOverflowsLeavesALineAndNoFile) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer has a handler and a stack of its own";
    }
    constexpr rlim_t page = 4096;
    const auto run_with = [](rlim_t stack) {
        SCOPED_TRACE(stack);
        const std::vector<std::string> before = temporary_files();
        Finished finished =
            start({.message = plain_message(), .limits = {{RLIMIT_STACK, stack}}})->wait();
        EXPECT_EQ(temporary_files(), before) << finished.err;
        return finished;
    };
    // From too little stack to be loaded to enough for everything.
    rlim_t enough = 4 * page;
    while (!run_with(enough).err.empty() || captured_mails().empty()) {
        ASSERT_LT(enough += page, 512U << 10U);
    }
    // Somewhat less is enough to start with. How much less depends on where in its first pages the
    // kernel lets the stack begin, which differs from run to run.
    const auto overflows = [&](rlim_t stack) {
        const Finished finished = run_with(stack);
        return finished.status == 0 &&
               finished.err == "autoresponder: Internal error, the message is not answered.\n";
    };
    int runs = 0;
    while (!overflows(enough - static_cast<rlim_t>(runs % 4) * page)) {
        ASSERT_LT(++runs, 400) << "no overflow";
    }
}

TEST_F(Resources, FewOpenFilesNeitherFailTheDeliveryNorLoseAMailInSilence) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers open pipes for their checks";
    }
    add_forward(1, "copy@example.net");
    add_attachment(1, "gone.txt");
    add_attachment(1, "here.txt");
    write_attachment("here.txt", "A");
    sql("update mail_resp set ans_freq='100'");
    for (rlim_t limit = 4; limit < 16; ++limit) {
        SCOPED_TRACE(limit);
        const Outcome outcome =
            run({.message = plain_message(), .limits = {{RLIMIT_NOFILE, limit}}});
        EXPECT_TRUE(outcome.mails.size() == 3 || !outcome.err.empty()) << "silent loss";
    }
}

TEST_F(Resources, ASmallLimitOfFileSizeSendsNoPartOfAReply) {
    add_forward(1, "copy@example.net");
    replace_mail_program("ulimit -S -f unlimited; \"$CAPTURE\" \"$@\"\n");
    const std::string message = message_with({"Subject: Hello"}, std::string(100'000, 'x'));
    for (const rlim_t limit : {0UL, 1UL}) {
        SCOPED_TRACE(limit);
        const Outcome outcome = run({.message = message, .limits = {{RLIMIT_FSIZE, limit}}});
        ASSERT_THAT(outcome.mails, SizeIs(1));
        EXPECT_EQ(outcome.mails[0].arguments.back(), "copy@example.net");
        // Standard error is a file, too.
        EXPECT_EQ(outcome.err, std::string("autoresponder: Failed to write").substr(0, limit));
    }
    for (const rlim_t limit : {4096UL, 65536UL}) {
        SCOPED_TRACE(limit);
        const Outcome outcome = run({.message = message, .limits = {{RLIMIT_FSIZE, limit}}});
        ASSERT_THAT(outcome.mails, SizeIs(2));
        EXPECT_EQ(outcome.mails[0].message, message.substr(0, limit));
        EXPECT_EQ(outcome.mails[1].message, plain_reply());
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
    // The reply's subject, encoded, takes more memory than anything before it.
    const std::string message =
        message_with({"Subject: " + std::string(700'000, '!')}, std::string(300'000, 'x'));
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
    constexpr int run_count = 8;
    std::vector<std::unique_ptr<Program>> programs;
    programs.reserve(run_count);
    const std::vector<std::string> before = temporary_files();
    sql("update mail_resp set ans_freq='100'");
    for (int i = 0; i < run_count; ++i) {
        programs.push_back(start({.message = plain_message()}));
    }
    for (const std::unique_ptr<Program>& program : programs) {
        EXPECT_EQ(program->wait().err, "");
    }
    EXPECT_EQ(temporary_files(), before);
}

TEST_F(Resources, WithoutAProcessToReadItTheMessageIsNotAnswered) {
    const Outcome outcome = run({.message = plain_message(), .refuse_fork = true});
    EXPECT_EQ(outcome.err,
              "autoresponder: The message could not be read: the reading process cannot be "
              "started: Resource temporarily unavailable (11)\n");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(Resources, TheCopyOfTheMessageTakesNoDescriptorAfterItIsWritten) {
    write_attachment("here.txt", "here");
    add_attachment(1, "here.txt");
    // Standard streams, the reply and what looks files up, say.
    const Outcome outcome = run({.message = plain_message(), .limits = {{RLIMIT_NOFILE, 9}}});
    EXPECT_EQ(outcome.err, "");
    ASSERT_EQ(outcome.mails.size(), 1U);
    EXPECT_NE(outcome.mails[0].message.find("aGVyZQ=="), std::string::npos);
}

}  // namespace
