// SPDX-License-Identifier: Apache-2.0

#include "core/files/common_look_up.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/run/rights.h"
namespace {

using namespace autoresponder;

// The judgement in words.
std::string judged_of(const std::vector<Told>& suspects) {
    const LookUp result = judge(suspects);
    EXPECT_FALSE(result.file);
    const std::string reason = strerrorname_np(result.error);
    return (result.state == LookUp::State::kMissing      ? "missing "
            : result.state == LookUp::State::kUnreadable ? "unreadable "
                                                         : "found ") +
           reason;
}

std::string judged(const std::vector<int>& errors) {
    std::vector<Told> suspects;
    for (const int error : errors) {
        suspects.push_back({.error = error});
    }
    return judged_of(suspects);
}

TEST(Judgement, IsMissingIfAllSuspectsSaySo) {
    EXPECT_EQ(judged({ENOENT}), "missing ENOENT");
    EXPECT_EQ(judged({ELOOP, ENOENT}), "missing ELOOP");
    EXPECT_EQ(judged({ENOTDIR, ENOTDIR}), "missing ENOTDIR");
    EXPECT_EQ(judged({ENAMETOOLONG}), "missing ENAMETOOLONG");
}

TEST(Judgement, IsMissingIfAllWhoCanSeeSoFarSaySo) {
    EXPECT_EQ(judged({EACCES, ENOENT}), "missing ENOENT");
    EXPECT_EQ(judged({ENOENT, EPERM, ENOENT}), "missing ENOENT");
}

TEST(Judgement, IsUnreadableIfNobodyCanSeeSoFar) {
    EXPECT_EQ(judged({EACCES}), "unreadable EACCES");
    EXPECT_EQ(judged({EACCES, EPERM}), "unreadable EACCES");
}

TEST(Judgement, IsUnreadableIfTheyDisagree) {
    EXPECT_EQ(judged({ENOENT, 0}), "unreadable EACCES");
    EXPECT_EQ(judged({0, EACCES}), "unreadable EACCES");
    EXPECT_EQ(judged({ENOENT, EIO}), "unreadable EIO");
}

TEST(Judgement, IsUnreadableForTheReasonThatIsNotOnlyOneOfRights) {
    EXPECT_EQ(judged({ENXIO, ENXIO}), "unreadable ENXIO");
    EXPECT_EQ(judged({EACCES, EAGAIN, ENOENT}), "unreadable EAGAIN");
}

TEST(Judgement, IsNotMissingIfWhoeverLeadsThereCannotSeeSoFar) {
    EXPECT_EQ(judged_of({{.error = EACCES, .has_led_there = true}, {.error = ENOENT}}),
              "unreadable EACCES");
    EXPECT_EQ(judged_of({{.error = EACCES}, {.error = ENOENT, .has_led_there = true}}),
              "missing ENOENT");
}

TEST(Judgement, IsUnreadableIfEverybodyGotAnotherFile) {
    EXPECT_EQ(judged({0, 0}), "unreadable EACCES");
}

}  // namespace
