// SPDX-License-Identifier: Apache-2.0

#include "core/files/suspect.h"

#include <pwd.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "core/run/rights.h"

namespace {

using namespace autoresponder;

TEST(IdentityOfASuspect, IsAUserWithAllGroupsThatTheSystemGivesTheUser) {
    const passwd* user = getpwnam("daemon");
    ASSERT_NE(user, nullptr);
    const Identity identity = identity_of({Suspect::Kind::kUser, user->pw_uid});
    EXPECT_EQ(identity.user, user->pw_uid);
    EXPECT_EQ(identity.group, user->pw_gid);
    EXPECT_NE(std::find(identity.groups.begin(), identity.groups.end(), user->pw_gid),
              identity.groups.end());
}

TEST(IdentityOfASuspect, IsAnUnknownUserWithoutAGroup) {
    constexpr uid_t unknown = 3'999'999'999U;
    ASSERT_EQ(getpwuid(unknown), nullptr);
    EXPECT_EQ(identity_of({Suspect::Kind::kUser, unknown}), (Identity{unknown, kNobodyGroup}));
}

TEST(IdentityOfASuspect, IsNobodyWithAGroupAlone) {
    EXPECT_EQ(identity_of({Suspect::Kind::kGroup, 8}), (Identity{kNobodyUser, 8}));
}

TEST(IdentityOfASuspect, IsNobodyForAnybody) {
    EXPECT_EQ(identity_of({Suspect::Kind::kAnybody}), (Identity{kNobodyUser, kNobodyGroup}));
}

}  // namespace
