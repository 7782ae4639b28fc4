// SPDX-License-Identifier: Apache-2.0

#include "core/story.h"

#include <sys/wait.h>

#include <csignal>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/run/run_end.h"

namespace {

using namespace autoresponder;
using testing::ElementsAre;
using testing::IsEmpty;

// One responder that was answered, one that was refused, and two that were not looked at.
Story story_of_four() {
    Story story;
    story.responders.resize(4);
    story.responders[0].verdict = Verdict::kAnswered;
    story.responders[1].refuse("it is switched off");
    return story;
}

TEST(ResponderStory, IsNotLookedAtUntilItIsDecided) {
    const ResponderStory responder;
    EXPECT_EQ(responder.verdict, Verdict::kNotLookedAt);
    EXPECT_EQ(responder.reason, "");
}

TEST(ResponderStory, OfARefusalHasItsReason) {
    ResponderStory responder;
    responder.refuse("it is switched off");
    EXPECT_EQ(responder.verdict, Verdict::kNotAnswered);
    EXPECT_EQ(responder.reason, "it is switched off");
}

TEST(ResponderStory, NotesHowMailProgramsEndedBadlyInTheirOrder) {
    ResponderStory responder;
    responder.note_status(" for the forward", W_EXITCODE(111, 0));
    responder.note_status(" for the notice", W_EXITCODE(0, SIGKILL));
    responder.note_status("", W_STOPCODE(SIGSTOP));
    EXPECT_THAT(responder.bad_statuses,
                ElementsAre("mail program for the forward ended with status 111",
                            "mail program for the notice was ended by signal 9",
                            "mail program was stopped by signal 19"));
}

TEST(ResponderStory, NotesNothingOfAMailProgramThatEndedWell) {
    ResponderStory responder;
    responder.note_status("", W_EXITCODE(0, 0));
    responder.note_status(" for the forward", W_EXITCODE(0, 0));
    EXPECT_THAT(responder.bad_statuses, IsEmpty());
}

TEST(BrokenOffStory, GivesUndecidedRespondersTheReason) {
    Story story = story_of_four();
    story.break_off(EndOfRun("autoresponder: Unable to exec query :gone"));
    EXPECT_EQ(story.responders[2].verdict, Verdict::kNotLookedAt);
    EXPECT_EQ(story.responders[2].reason, "Unable to exec query :gone");
    EXPECT_EQ(story.responders[3].verdict, Verdict::kNotLookedAt);
    EXPECT_EQ(story.responders[3].reason, "Unable to exec query :gone");
}

TEST(BrokenOffStory, LeavesDecidedRespondersAsTheyAre) {
    Story story = story_of_four();
    story.break_off(EndOfRun("autoresponder: Unable to exec query :gone"));
    EXPECT_EQ(story.responders[0].verdict, Verdict::kAnswered);
    EXPECT_EQ(story.responders[0].reason, "");
    EXPECT_EQ(story.responders[1].verdict, Verdict::kNotAnswered);
    EXPECT_EQ(story.responders[1].reason, "it is switched off");
    EXPECT_EQ(story.reason, "Unable to exec query :gone");
    EXPECT_TRUE(story.failed);
}

TEST(BrokenOffStory, LeavesAResponderThatWasBegunUnanswered) {
    Story story = story_of_four();
    story.responders[2].begun = true;
    story.break_off(EndOfRun("autoresponder: Unable to exec query :gone"));
    EXPECT_EQ(story.responders[2].verdict, Verdict::kNotAnswered);
    EXPECT_EQ(story.responders[2].reason, "Unable to exec query :gone");
    EXPECT_EQ(story.responders[3].verdict, Verdict::kNotLookedAt);
}

TEST(BrokenOffStory, WithoutRespondersHasTheReasonItself) {
    Story story;
    story.break_off(EndOfRun("autoresponder: Unable to connect", "no server"));
    EXPECT_EQ(story.reason, "no server");
    EXPECT_TRUE(story.failed);
}

TEST(BrokenOffStory, FailsOnlyWhereTheMessageIsNotTheCause) {
    Story story;
    story.break_off(
        EndOfRun("autoresponder: x", "it cannot be processed: x", EndOfRun::Cause::kMessage));
    EXPECT_EQ(story.reason, "it cannot be processed: x");
    EXPECT_FALSE(story.failed);
}

}  // namespace
