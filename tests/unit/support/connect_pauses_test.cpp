// SPDX-License-Identifier: Apache-2.0

#include "support/connect_pauses.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/db_handle.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using tolva::db::ConnectionHandle;
using tolva::db::is_passing;
using tolva::db::Patience;
using tolva::db::pause_after;

// A handle that reports that error.
ConnectionHandle handle_with(unsigned number, const char* text = "some text") {
    ConnectionHandle handle(mysql_init(nullptr));
    handle->net.last_errno = number;
    std::snprintf(handle->net.last_error, sizeof handle->net.last_error, "%s", text);
    return handle;
}

TEST(IsPassing, AServerThatIsNotThereOrHasNoRoomMayBeBackInAMoment) {
    for (const unsigned error :
         {1040U, 1041U, 1047U, 1053U, 1135U, 1203U, 1927U, 2002U, 2006U, 2013U}) {
        EXPECT_TRUE(is_passing(handle_with(error).get())) << error;
    }
}

TEST(IsPassing, RefusalsOfThisUserOrHostAndBrokenTablesLast) {
    for (const unsigned error :
         {0U, 1044U, 1045U, 1049U, 1064U, 1129U, 1130U, 1146U, 2005U, 2008U, 2012U, 2027U}) {
        EXPECT_FALSE(is_passing(handle_with(error).get())) << error;
    }
}

TEST(IsPassing, OfTheLimitsOfAUserOnlyThatOfSessionsPasses) {
    EXPECT_TRUE(is_passing(handle_with(1226,
                                       "User 'admin' has exceeded the 'max_user_connections' "
                                       "resource (current value: 1)")
                               .get()));
    EXPECT_FALSE(is_passing(handle_with(1226,
                                        "User 'admin' has exceeded the "
                                        "'max_queries_per_hour' resource (current value: 1)")
                                .get()));
}

TEST(PauseAfter, GrowsToALimitAndIsShortenedByUpToAHalf) {
    const struct {
        int refusals;
        milliseconds longest;
    } cases[] = {{1, milliseconds(50)},  {2, milliseconds(100)}, {3, milliseconds(200)},
                 {4, milliseconds(400)}, {5, milliseconds(800)}, {6, milliseconds(800)},
                 {99, milliseconds(800)}};
    for (const auto& [refusals, longest] : cases) {
        const auto half = static_cast<std::uint32_t>(longest.count() / 2);
        EXPECT_EQ(pause_after(refusals, 0), longest);
        EXPECT_EQ(pause_after(refusals, 7), longest - milliseconds(7));
        EXPECT_EQ(pause_after(refusals, half), longest / 2);
        EXPECT_EQ(pause_after(refusals, half + 1), longest);
        EXPECT_GE(pause_after(refusals, std::numeric_limits<std::uint32_t>::max()), longest / 2);
    }
}

TEST(Patience, LastsForAWhileAfterTheFirstRefusal) {
    Patience patience;
    EXPECT_TRUE(patience.wait());
    EXPECT_TRUE(patience.wait());
}

TEST(Patience, RunsOut) {
    EXPECT_FALSE(Patience(milliseconds(0)).wait());
    Patience patience(milliseconds(100));
    int waits = 0;
    while (patience.wait()) {
        ASSERT_LT(++waits, 100);
    }
    // A limit of 0 seconds would be none.
    EXPECT_EQ(patience.seconds_for_try(30), waits > 0 ? 1U : 30U);
}

TEST(Patience, IsUsedUpByATryThatTakesLonger) {
    Patience patience(milliseconds(1));
    std::this_thread::sleep_for(milliseconds(2));
    EXPECT_FALSE(patience.wait());
}

TEST(Patience, LimitsATryAfterARefusalToWhatIsLeft) {
    Patience patience;
    EXPECT_EQ(patience.seconds_for_try(30), 30U);
    ASSERT_TRUE(patience.wait());
    EXPECT_THAT(patience.seconds_for_try(30), testing::AllOf(testing::Ge(1U), testing::Le(5U)));
    EXPECT_EQ(patience.seconds_for_try(1), 1U);
}

}  // namespace
