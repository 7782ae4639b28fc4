// SPDX-License-Identifier: Apache-2.0

// The walk up to the panel's database, without one. The rest of it:
// tests/system/whole_flow_test.cpp.
#include "core/walk.h"

#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "core/ending.h"
#include "core/run/run_end.h"
#include "core/story.h"

namespace {

using namespace autoresponder;

// No step of these walks gets as far as this.
class NoEnding : public Ending {
  public:
    NoEnding() : Ending(Effects::kNone) {}

    int forward(const ResponderStory& /*responder*/, const Mail_content& /*mail*/) override {
        return not_expected();
    }
    int notify(const ResponderStory& /*responder*/, const MissingFileNotice& /*notice*/,
               const Mail_content& /*mail*/) override {
        return not_expected();
    }
    int reply(const ResponderStory& /*responder*/, tolva::Descriptor /*contents*/,
              const Envelope& /*envelope*/, ReplyKind /*kind*/) override {
        return not_expected();
    }

  private:
    static int not_expected() {
        ADD_FAILURE() << "the message was answered";
        return 0;
    }
};

class Walk : public testing::Test {
  protected:
    void SetUp() override {
        unsetenv("SENDER");
        unsetenv("RETURN_PATH");
    }

    // What the walk reports.
    std::string report_about(const std::string& message, Audience audience = Audience::kEverybody) {
        NoEnding ending;
        return report_of(
            [&] { walk(DwString(message.data(), message.size()), audience, story_, ending); });
    }

    static std::string report_of(const std::function<void()>& steps) {
        testing::internal::CaptureStderr();
        steps();
        return testing::internal::GetCapturedStderr();
    }

    Story story_{.recipient = "info@b.org"};
};

TEST_F(Walk, EndsWhereTheSenderIsNotKnown) {
    const std::string objection =
        "Could not get sender's e-mail address from Reply-To: or From: headers.";
    EXPECT_EQ(report_about("Subject: x\n\n"), objection + "\nAbnormal exit.\n");
    EXPECT_EQ(story_.reason, objection);
    EXPECT_FALSE(story_.failed);
    EXPECT_EQ(story_.message, std::nullopt);
}

TEST_F(Walk, EndsWhereTheRecipientIsNotKnown) {
    const std::string objection =
        "Could not get recipient e-mail address from RESP_RECIPIENT environment variable";
    story_.recipient = std::nullopt;
    EXPECT_EQ(report_about("From: ann@c.org\n\n"), objection + "\nAbnormal exit.\n");
    EXPECT_EQ(story_.reason, objection);
    EXPECT_FALSE(story_.failed);
}

TEST_F(Walk, EndsWhereAReplyWouldMakeALoop) {
    const std::string loop = "Field From: equial field To:";
    EXPECT_EQ(report_about("From: info@b.org\nList-Id: x\n\n", Audience::kOnlyPeople), loop + "\n");
    EXPECT_EQ(story_.loop, loop);
    EXPECT_EQ(story_.reason, "it would make a loop: " + loop);
    EXPECT_EQ(story_.not_a_person, "");
    ASSERT_TRUE(story_.message);
    EXPECT_EQ(story_.message->content.from, "info@b.org");
}

TEST_F(Walk, EndsWhereAMachineWroteAndOnlyPeopleAreAnswered) {
    EXPECT_EQ(report_about("From: ann@c.org\nList-Id: x\n\n", Audience::kOnlyPeople),
              "autoresponder: Not answered: List-Id: field\n");
    EXPECT_EQ(story_.not_a_person, "List-Id: field");
    EXPECT_EQ(story_.reason, "only people are answered: List-Id: field");
    EXPECT_EQ(story_.loop, "");
}

TEST_F(Walk, TakesTheEnvelopeSenderIntoAccountWhereOnlyPeopleAreAnswered) {
    EXPECT_EQ(report_about("Return-Path: <>\nFrom: ann@c.org\n\n", Audience::kOnlyPeople),
              "autoresponder: Not answered: empty envelope sender\n");
}

TEST_F(Walk, GivesUpWithTheObjectionAsTheReason) {
    EXPECT_EQ(report_of([this] { give_up(story_, "Could not create a temporary file."); }),
              "Could not create a temporary file.\nAbnormal exit.\n");
    EXPECT_EQ(story_.reason, "Could not create a temporary file.");
}

using ToldStory = Walk;

TEST_F(ToldStory, IsThatOfItsSteps) {
    EXPECT_EQ(report_of([this] { tell(story_, [this] { story_.reason = "the mailbox"; }); }), "");
    EXPECT_EQ(story_.reason, "the mailbox");
    EXPECT_FALSE(story_.failed);
}

TEST_F(ToldStory, BreaksOffWhereTheRunEnds) {
    EXPECT_EQ(report_of([this] {
                  tell(story_, [] { throw EndOfRun("autoresponder: Unable to query: gone"); });
              }),
              "autoresponder: Unable to query: gone\n");
    EXPECT_EQ(story_.reason, "Unable to query: gone");
    EXPECT_TRUE(story_.failed);
}

TEST_F(ToldStory, BreaksOffWhereTheMessageCannotBeProcessed) {
    EXPECT_EQ(report_of([this] { tell(story_, [] { throw std::out_of_range("substr"); }); }),
              "autoresponder: Failed to process the message: substr\n");
    EXPECT_EQ(story_.reason, "it cannot be processed: substr");
    EXPECT_FALSE(story_.failed);
}

}  // namespace
