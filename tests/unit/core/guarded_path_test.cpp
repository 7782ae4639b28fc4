// SPDX-License-Identifier: Apache-2.0

#include "core/files/guarded_path.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/unit/core/temporary_directory.h"
#include "tests/unit/support/child_run.h"

namespace {

using namespace autoresponder;

constexpr uid_t kOther = 12345;
constexpr gid_t kOtherGroup = 23456;

// The walk's end in words: name, whose rights, how links are treated.
std::string described(const tolva::Result<GuardedPath>& path) {
    if (!path) {
        return "error " + std::to_string(path.error());
    }
    const std::string rights = path->identity ? std::to_string(path->identity->user) + ":" +
                                                    std::to_string(path->identity->group)
                                              : "own";
    return path->name + " rights " + rights + (path->follow_links ? " links followed" : "");
}

// A directory with the file sub/file, all of it the user's.
class GuardedWalk : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
        std::filesystem::create_directory(directory_.path("sub"));
        directory_.put("sub/file", "x");
    }

    [[nodiscard]] tolva::Result<GuardedPath> walk_to(const std::string& path) const {
        return walk_guarded(directory_.path(), path);
    }

    // A path of the file that has this length together with the directory and the slash between.
    [[nodiscard]] std::string path_with_length(std::size_t length) const {
        const std::string name = "sub/file";
        std::string path;
        std::size_t missing = length - (directory_.path().size() + 1 + name.size());
        if (missing % 2 == 1) {
            path = ".//";
            missing -= path.size();
        }
        for (; missing > 0; missing -= 2) {
            path += "./";
        }
        return path + name;
    }

    const TemporaryDirectory directory_;
};

TEST_F(GuardedWalk, TakesAPathAsLongAsThoseOfTheKernel) {
    const std::string path = path_with_length(4095);
    ASSERT_EQ((directory_.path() + "/" + path).size(), 4095U);
    EXPECT_TRUE(std::filesystem::exists(directory_.path() + "/" + path));
    EXPECT_TRUE(walk_to(path));
}

TEST_F(GuardedWalk, RefusesALongerPath) {
    EXPECT_EQ(walk_to(path_with_length(4096)).error(), ENAMETOOLONG);
    EXPECT_EQ(walk_to(path_with_length(4097)).error(), ENAMETOOLONG);
    EXPECT_EQ(walk_to(std::string(1'000'000, '/')).error(), ENAMETOOLONG);
}

TEST_F(GuardedWalk, NeedsItsRoot) {
    EXPECT_EQ(walk_guarded(directory_.path("gone"), "file").error(), ENOENT);
    EXPECT_EQ(walk_guarded(directory_.path("sub/file"), "file").error(), ENOTDIR);
}

// Files can be given away by root only.
class GuardedWalkOfRoot : public GuardedWalk {
  protected:
    void SetUp() override {
        GuardedWalk::SetUp();
        if (geteuid() != 0 || !give_away("sub/file", kOther, kOtherGroup) ||
            !give_away("sub/file", 0, 0)) {
            GTEST_SKIP() << "this takes root, and other user ids";
        }
    }

    [[nodiscard]] bool give_away(const std::string& name, uid_t user = kOther,
                                 gid_t group = kOtherGroup) const {
        return lchown(directory_.path(name).c_str(), user, group) == 0;
    }

    void link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, directory_.path(name));
    }
};

TEST_F(GuardedWalkOfRoot, TrustsWhatOnlyRootCanHavePutThere) {
    EXPECT_EQ(described(walk_to("sub/file")), "file rights own");
    EXPECT_EQ(described(walk_to("sub")), "sub rights own");
    EXPECT_EQ(described(walk_to("sub/gone")), "error " + std::to_string(ENOENT));
}

TEST_F(GuardedWalkOfRoot, EndsAtAFileOfAnotherUser) {
    ASSERT_TRUE(give_away("sub/file"));
    EXPECT_EQ(described(walk_to("sub/file")), "file rights 12345:23456 links followed");
}

TEST_F(GuardedWalkOfRoot, EndsAtADirectoryOfAnotherUser) {
    ASSERT_TRUE(give_away("sub"));
    EXPECT_EQ(described(walk_to("sub/file")), "./file rights 12345:23456 links followed");
    EXPECT_EQ(described(walk_to("sub/gone/file")), "./gone/file rights 12345:23456 links followed");
}

TEST_F(GuardedWalkOfRoot, UsesNoGroupOfRoots) {
    ASSERT_TRUE(give_away("sub/file", kOther, 0));
    EXPECT_EQ(described(walk_to("sub/file")), "file rights 12345:65534 links followed");
}

TEST_F(GuardedWalkOfRoot, HasNobodysRightsWhereOthersMayWrite) {
    for (const unsigned mode : {0777U, 0775U, 0757U}) {
        std::filesystem::permissions(directory_.path("sub"), std::filesystem::perms(mode));
        EXPECT_EQ(described(walk_to("sub/file")), "file rights 65534:65534 links followed") << mode;
    }
}

TEST_F(GuardedWalkOfRoot, FollowsLinksOfRootsWhereverTheyLead) {
    link("sub", "relative");
    link("relative/file", "twice");
    link("/etc/passwd", "absolute");
    EXPECT_EQ(described(walk_to("relative/file")), "file rights own");
    EXPECT_EQ(described(walk_to("twice")), "file rights own");
    EXPECT_EQ(described(walk_to("absolute")), "passwd rights own");
}

TEST_F(GuardedWalkOfRoot, LeavesALinkOfAnotherUserToTheLookUp) {
    link("sub", "link");
    ASSERT_TRUE(give_away("link"));
    EXPECT_EQ(described(walk_to("link/file")), "link/file rights 12345:23456 links followed");
}

TEST_F(GuardedWalkOfRoot, HasTheRightsOfTheOwnerOfItsRoot) {
    ASSERT_TRUE(give_away("sub"));
    EXPECT_EQ(described(walk_guarded(directory_.path("sub"), "a/b")),
              "a/b rights 12345:23456 links followed");
}

TEST_F(GuardedWalkOfRoot, HasTheRightsOfTheOwnerOfALinkInPlaceOfItsRoot) {
    link("sub", "link");
    ASSERT_TRUE(give_away("link"));
    EXPECT_EQ(described(walk_guarded(directory_.path("link"), "file")),
              "file rights 12345:23456 links followed");
}

TEST_F(GuardedWalkOfRoot, LooksEverythingUpAsItIsWithoutRootsRights) {
    ASSERT_TRUE(give_away("sub"));
    const ChildRun run = run_in_child([this] {
        if (setresgid(kOtherGroup, kOtherGroup, kOtherGroup) != 0 ||
            setresuid(kOther, kOther, kOther) != 0) {
            std::exit(1);
        }
        note(described(walk_to("sub/file")));
    });
    EXPECT_EQ(run.noted, "sub/file rights own links followed\n");
}

}  // namespace
