// SPDX-License-Identifier: Apache-2.0

#include "core/verdict_line.h"

#include <cstddef>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/story.h"

namespace {

using namespace autoresponder;

const std::string kBegin = "autoresponder: Verdict: ";

Story story(const std::string& recipient = "info@b.org", const std::string& sender = "ann@c.org") {
    Story story{.recipient = recipient, .message = MessageAnalysis()};
    story.message->content.from = sender;
    return story;
}

ResponderStory responder(const std::string& id, Verdict verdict, const std::string& reason = "") {
    ResponderStory responder;
    responder.row.id = id;
    responder.verdict = verdict;
    responder.reason = reason;
    return responder;
}

// Of a message that nobody answers for that reason.
Story unanswered(const std::string& reason) {
    Story unanswered = story();
    unanswered.reason = reason;
    return unanswered;
}

// A reason with which the line gets that length.
Story story_with_line_of(std::size_t length) {
    const std::size_t rest = verdict_line(unanswered("")).size();
    return unanswered(std::string(length - rest, 'x'));
}

TEST(VerdictLine, NamesEachRespondersVerdictInItsOrder) {
    Story all = story();
    all.responders = {responder("12", Verdict::kAnswered),
                      responder("13", Verdict::kNotAnswered, "it is switched off"),
                      responder("7", Verdict::kNotLookedAt, "Unable to exec query :gone")};
    EXPECT_EQ(verdict_line(all),
              "autoresponder: Verdict: info@b.org from ann@c.org: 12 answered; 13 not answered, it "
              "is switched off; 7 not looked at, Unable to exec query :gone");
}

TEST(VerdictLine, OfOneResponderHasNoSemicolon) {
    Story one = story();
    one.responders = {responder("12", Verdict::kAnswered)};
    EXPECT_EQ(verdict_line(one), "autoresponder: Verdict: info@b.org from ann@c.org: 12 answered");
}

TEST(VerdictLine, NamesTheReasonOfTheWholeMessageWithoutResponders) {
    EXPECT_EQ(verdict_line(unanswered("the mailbox has no responder")),
              "autoresponder: Verdict: info@b.org from ann@c.org: not answered, the mailbox has no "
              "responder");
}

TEST(VerdictLine, ShowsWhatIsNotKnownAsAHyphen) {
    Story unknown;
    unknown.reason = "Could not create a temporary file.";
    EXPECT_EQ(verdict_line(unknown),
              "autoresponder: Verdict: - from -: not answered, Could not create a temporary file.");
    unknown.recipient = "info@b.org";
    EXPECT_EQ(verdict_line(unknown),
              "autoresponder: Verdict: info@b.org from -: not answered, Could not create a "
              "temporary file.");
}

TEST(VerdictLine, AddsTheBadEndsOfMailProgramsToTheirResponder) {
    Story bad = story();
    bad.responders = {responder("12", Verdict::kAnswered),
                      responder("13", Verdict::kNotAnswered, "x"),
                      responder("14", Verdict::kAnswered)};
    bad.responders[0].bad_statuses = {"mail program for the forward was ended by signal 9",
                                      "mail program ended with status 111"};
    bad.responders[1].bad_statuses = {"mail program for the notice ended with status 1"};
    EXPECT_EQ(
        verdict_line(bad),
        "autoresponder: Verdict: info@b.org from ann@c.org: 12 answered, mail program for the "
        "forward was ended by signal 9, mail program ended with status 111; 13 not answered, "
        "x, mail program for the notice ended with status 1; 14 answered");
}

TEST(VerdictLine, IsOneLineWhateverStrangersWrite) {
    Story hostile = story("in\nfo@b.org", "a\r\nautoresponder: Verdict: \x7F@c.org");
    hostile.reason = std::string("a\0b\tc\x1b[2J", 9);
    EXPECT_EQ(verdict_line(hostile),
              "autoresponder: Verdict: in?fo@b.org from a??autoresponder: Verdict: ?@c.org: not "
              "answered, a?b?c?[2J");
}

TEST(VerdictLine, KeepsOtherBytes) {
    EXPECT_EQ(verdict_line(unanswered("\xD1\x86 \xE2\x82\xAC \xFF\x80 x")),
              kBegin + "info@b.org from ann@c.org: not answered, \xD1\x86 \xE2\x82\xAC \xFF\x80 x");
}

TEST(VerdictLine, HoldsTwoHundredBytesOfAnAddress) {
    const std::string most(200, 'r');
    EXPECT_EQ(verdict_line(story(most, most)),
              kBegin + most + " from " + most + ": not answered, ");
    const std::string cut = std::string(197, 'r') + "...";
    EXPECT_EQ(verdict_line(story(most + "r", most + "r")),
              kBegin + cut + " from " + cut + ": not answered, ");
    const std::string huge(1'000'000, 'r');
    EXPECT_EQ(verdict_line(story(huge, huge)), kBegin + cut + " from " + cut + ": not answered, ");
}

TEST(VerdictLine, CutsNoCharacterOfAnAddressInTwo) {
    // The character would end after the 197 bytes that are kept.
    for (const std::string character : {"\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 198 - character.size(); before < 197; ++before) {
            const std::string address = std::string(before, 'x') + character + std::string(10, 'y');
            EXPECT_EQ(verdict_line(story(address)),
                      kBegin + std::string(before, 'x') + "... from ann@c.org: not answered, ");
        }
        const std::string fits = std::string(197 - character.size(), 'x') + character;
        EXPECT_EQ(verdict_line(story(fits + "yyyy")),
                  kBegin + fits + "... from ann@c.org: not answered, ");
    }
}

TEST(VerdictLine, HoldsAsMuchOfAnAddressThatIsNotUtf8) {
    const std::string line = verdict_line(story(std::string(300, '\x80')));
    EXPECT_THAT(line, testing::StartsWith(kBegin + std::string(194, '\x80')));
}

TEST(VerdictLine, Of599BytesIsWhole) {
    const std::string line = verdict_line(story_with_line_of(599));
    EXPECT_EQ(line.size(), 599U);
    EXPECT_THAT(line, testing::EndsWith("xxxx"));
}

TEST(VerdictLine, IsNeverLongerThan599Bytes) {
    for (const std::size_t length : {600U, 601U, 1000U, 100'000U}) {
        const std::string line = verdict_line(story_with_line_of(length));
        EXPECT_EQ(line.size(), 599U);
        EXPECT_THAT(line, testing::EndsWith("xxxx..."));
    }
}

TEST(VerdictLine, OfManyRespondersIsCutToo) {
    const std::string address(1000, 'a');
    Story many = story(address, address);
    for (int id = 1; id <= 1000; ++id) {
        many.responders.push_back(
            responder(std::to_string(id), Verdict::kNotAnswered, "it is switched off"));
    }
    const std::string line = verdict_line(many);
    EXPECT_EQ(line.size(), 599U);
    EXPECT_THAT(line, testing::HasSubstr("...: 1 not answered, it is switched off; 2 not"));
}

TEST(VerdictLine, IsNotCutInTheMiddleOfACharacter) {
    const std::size_t rest = verdict_line(unanswered("")).size();
    const std::string before(595 - rest, 'x');
    const std::string line = verdict_line(unanswered(before + "\xE2\x82\xAC and more"));
    EXPECT_EQ(line, verdict_line(unanswered(before)) + "...");
}

}  // namespace
