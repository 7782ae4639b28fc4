// SPDX-License-Identifier: Apache-2.0

#include "core/files/path_walk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "core/files/suspect.h"
#include "core/run/rights.h"
#include "support/descriptor.h"
#include "support/result.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

constexpr uid_t kAlice = 12345;
constexpr uid_t kBob = 12346;
constexpr gid_t kGroup = 23456;

std::string described(const Suspect& suspect) {
    switch (suspect.kind) {
        case Suspect::Kind::kUser:
            return "user " + std::to_string(suspect.id);
        case Suspect::Kind::kGroup:
            return "group " + std::to_string(suspect.id);
        case Suspect::Kind::kAnybody:
            break;
    }
    return "anybody";
}

// Whom the walk suspects, in words, and how it ends.
std::string described(const PathWalk& walk) {
    std::string text;
    for (const Suspect& suspect : walk.suspects) {
        text += described(suspect) + ", ";
    }
    return text + (walk.end ? "found" : "error " + std::to_string(walk.end.error()));
}

tolva::Result<tolva::Descriptor> open_as_nobody(const Suspect& /*suspect*/, int /*directory*/,
                                                const std::string& /*path*/, int /*flags*/) {
    return tolva::Errno{EACCES};
}

// A directory with the file sub/file, all of it root's alone.
class WalkedPath : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
        std::filesystem::create_directory(directory_.path("sub"));
        directory_.put("sub/file", "x");
    }

    [[nodiscard]] PathWalk walk_to(const std::string& path) const {
        return walk_path(directory_.path(), path, open_as_nobody);
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

TEST_F(WalkedPath, TakesAPathAsLongAsThoseOfTheKernel) {
    const std::string path = path_with_length(4095);
    ASSERT_TRUE(std::filesystem::exists(directory_.path() + "/" + path));
    EXPECT_TRUE(walk_to(path).end);
}

TEST_F(WalkedPath, RefusesALongerPath) {
    EXPECT_EQ(walk_to(path_with_length(4096)).end.error(), ENAMETOOLONG);
    EXPECT_EQ(walk_to(path_with_length(4097)).end.error(), ENAMETOOLONG);
    EXPECT_EQ(walk_to(std::string(1'000'000, '/')).end.error(), ENAMETOOLONG);
}

TEST_F(WalkedPath, NeedsItsRoot) {
    EXPECT_EQ(walk_path(directory_.path("gone"), "file", open_as_nobody).end.error(), ENOENT);
    EXPECT_EQ(walk_path(directory_.path("gone/gone"), "file", open_as_nobody).end.error(), ENOENT);
    EXPECT_EQ(walk_path(directory_.path("sub/file"), "file", open_as_nobody).end.error(), ENOTDIR);
    EXPECT_EQ(walk_path("", "file", open_as_nobody).end.error(), ENOENT);
}

TEST_F(WalkedPath, TakesItsRootHoweverItIsWritten) {
    EXPECT_TRUE(walk_path(directory_.path() + "//", "sub/file", open_as_nobody).end);
    EXPECT_TRUE(walk_path("/", directory_.path().substr(1) + "/sub/file", open_as_nobody).end);
    std::filesystem::current_path(directory_.path());
    EXPECT_TRUE(walk_path("sub", "file", open_as_nobody).end);
    EXPECT_TRUE(walk_path("sub/.", "file", open_as_nobody).end);
    std::filesystem::current_path("/");
}

// Files can be given away by root only.
class WalkedPathOfRoot : public WalkedPath {
  protected:
    void SetUp() override {
        WalkedPath::SetUp();
        if (geteuid() != 0 || chown(directory_.path("sub/file").c_str(), kAlice, kGroup) != 0) {
            GTEST_SKIP() << "this takes root, and other user ids";
        }
        give("sub/file", 0);
    }

    void give(const std::string& name, uid_t user, gid_t group = 0) const {
        ASSERT_EQ(lchown(directory_.path(name).c_str(), user, group), 0);
    }

    void set_mode(const std::string& name, unsigned mode) const {
        std::filesystem::permissions(directory_.path(name), std::filesystem::perms(mode));
    }

    void link(const std::string& target, const std::string& name, uid_t owner = 0) const {
        std::filesystem::create_symlink(target, directory_.path(name));
        give(name, owner);
    }

    // What the suspects begin with opens the file, too.
    static bool leads_to_the_end(const PathWalk& walk) {
        const tolva::Descriptor file(openat(walk.start.get(), walk.rest.c_str(), O_PATH));
        struct stat status {};
        return fstat(file.get(), &status) == 0 && status.st_ino == walk.end->status.st_ino;
    }
};

TEST_F(WalkedPathOfRoot, SuspectsNobodyOfWhatRootAloneCanHavePutThere) {
    EXPECT_EQ(described(walk_to("sub/file")), "found");
    EXPECT_EQ(described(walk_to("sub")), "found");
    EXPECT_EQ(described(walk_to("sub/gone")), "error " + std::to_string(ENOENT));
    const PathWalk walk = walk_to("sub/file");
    EXPECT_EQ(walk.name, "file");
    const tolva::Descriptor file(openat(walk.directory.get(), walk.name.c_str(), O_PATH));
    EXPECT_TRUE(file);
}

TEST_F(WalkedPathOfRoot, SuspectsTheOwnersOfAllComponents) {
    give("sub", kAlice);
    EXPECT_EQ(described(walk_to("sub/file")), "user 12345, found");
    give("sub/file", kBob);
    EXPECT_EQ(described(walk_to("sub/file")), "user 12345, user 12346, found");
    EXPECT_EQ(described(walk_to("sub/gone")), "user 12345, error " + std::to_string(ENOENT));
    give("sub", 0);
    EXPECT_EQ(described(walk_to("sub/file")), "user 12346, found");
}

TEST_F(WalkedPathOfRoot, SuspectsTheOwnerOfItsRootAndOfALinkInItsPlace) {
    give("sub", kAlice);
    EXPECT_EQ(described(walk_path(directory_.path("sub"), "file", open_as_nobody)),
              "user 12345, found");
    link("sub", "link", kBob);
    EXPECT_EQ(described(walk_path(directory_.path("link"), "file", open_as_nobody)),
              "user 12345, user 12346, found");
}

TEST_F(WalkedPathOfRoot, TrustsWhatLiesAboveItsRoot) {
    set_mode("", 0777);
    give("", kBob);
    EXPECT_EQ(described(walk_path(directory_.path("sub"), "file", open_as_nobody)), "found");
}

TEST_F(WalkedPathOfRoot, SuspectsWhoeverMayWriteToADirectoryOnTheWay) {
    give("sub", 0, kGroup);
    set_mode("sub", 0775);
    EXPECT_EQ(described(walk_to("sub/file")), "group 23456, found");
    set_mode("sub", 0757);
    EXPECT_EQ(described(walk_to("sub/file")), "anybody, found");
    set_mode("sub", 01777);
    EXPECT_EQ(described(walk_to("sub/file")), "group 23456, anybody, found");
    EXPECT_EQ(described(walk_to("sub/gone")),
              "group 23456, anybody, error " + std::to_string(ENOENT));
    EXPECT_EQ(described(walk_to("sub")), "found");
    EXPECT_EQ(described(walk_path(directory_.path("sub"), "file", open_as_nobody)),
              "group 23456, anybody, found");
}

TEST_F(WalkedPathOfRoot, FollowsLinksOfRootsAndJudgesWhatTheyLeadTo) {
    link("sub", "relative");
    link("relative/file", "twice");
    EXPECT_EQ(described(walk_to("relative/file")), "found");
    EXPECT_EQ(described(walk_to("twice")), "found");
    give("sub", kAlice);
    EXPECT_EQ(described(walk_to("relative/file")), "user 12345, found");
    EXPECT_EQ(described(walk_to("twice")), "user 12345, found");
    link("/", "top");
    EXPECT_EQ(described(walk_to("top/etc/passwd")), "found");
}

TEST_F(WalkedPathOfRoot, SuspectsTheOwnersOfLinksAndOfWhatTheyLeadTo) {
    link("sub", "link", kAlice);
    give("sub", kBob);
    const PathWalk walk = walk_to("link/file");
    EXPECT_EQ(described(walk), "user 12345, user 12346, found");
    ASSERT_EQ(walk.link_owners.size(), 1U);
    EXPECT_EQ(described(*walk.link_owners.begin()), "user 12345");
}

TEST_F(WalkedPathOfRoot, ReadsDotsInLinksAsTheKernelDoes) {
    std::filesystem::create_directory(directory_.path("deep"));
    link("../sub/../deep/.././sub/file", "deep/link", kAlice);
    const PathWalk walk = walk_to("deep/link");
    EXPECT_EQ(described(walk), "user 12345, found");
    EXPECT_TRUE(leads_to_the_end(walk));
}

TEST_F(WalkedPathOfRoot, HasSuspectsBeginInTheLastDirectoryThatRootAloneCanHavePutThere) {
    // A directory of another user's stands for itself: those above it may be root's alone.
    give("sub", kAlice);
    PathWalk walk = walk_to("sub/file");
    EXPECT_EQ(walk.rest, "./file");
    EXPECT_TRUE(leads_to_the_end(walk));
    // A link or a file has no other place than its directory.
    give("sub", 0);
    give("sub/file", kAlice);
    walk = walk_to("./sub//file");
    EXPECT_EQ(walk.rest, "file");
    EXPECT_TRUE(leads_to_the_end(walk));
    link("sub", "link", kBob);
    walk = walk_to("link/file");
    EXPECT_EQ(walk.rest, "link/file");
    EXPECT_TRUE(leads_to_the_end(walk));
    // So has what lies in a directory that others may write to.
    give("sub/file", 0);
    set_mode("sub", 0777);
    walk = walk_to("sub/file");
    EXPECT_EQ(walk.rest, "file");
    EXPECT_TRUE(leads_to_the_end(walk));
    std::filesystem::create_directory(directory_.path("sub/deeper"));
    directory_.put("sub/deeper/file", "y");
    walk = walk_to("sub/deeper/file");
    EXPECT_EQ(walk.rest, "deeper/file");
    EXPECT_TRUE(leads_to_the_end(walk));
}

TEST_F(WalkedPathOfRoot, FollowsAsManyLinksAsTheKernel) {
    for (int i = 1; i <= 41; ++i) {
        link(i == 1 ? "sub/file" : "link" + std::to_string(i - 1), "link" + std::to_string(i));
    }
    EXPECT_EQ(described(walk_to("link40")), "found");
    EXPECT_EQ(described(walk_to("link41")), "error " + std::to_string(ELOOP));
}

TEST_F(WalkedPathOfRoot, DoesNotAskTheOwnerOfADirectoryWhatRootMayDo) {
    give("sub", kAlice);
    int asked = 0;
    const auto open_as = [&](const Suspect& /*suspect*/, int /*directory*/,
                             const std::string& /*path*/, int /*flags*/) {
        ++asked;
        return tolva::Result<tolva::Descriptor>(tolva::Errno{EACCES});
    };
    EXPECT_EQ(described(walk_path(directory_.path(), "sub/file", open_as)), "user 12345, found");
    EXPECT_EQ(asked, 0);
}

}  // namespace
