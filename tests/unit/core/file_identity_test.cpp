// SPDX-License-Identifier: Apache-2.0

#include "core/run/file_identity.h"

#include <grp.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "core/files/attachment_repository.h"
#include "tests/unit/core/temporary_directory.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"

namespace {

using namespace autoresponder;

constexpr FileIdentity kOwner = {65534, 65534};

// A file that root may read only as its owner.
class AssumedIdentityTest : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
        directory_.put("file", "x");
        if (geteuid() != 0 ||
            chown(directory_.path("file").c_str(), kOwner.user, kOwner.group) != 0) {
            GTEST_SKIP() << "this takes root, and a second user id";
        }
    }

    void note_opening() const {
        const AttachmentRepository repository(directory_.path(), ".");
        const int error = repository.open("file").error();
        note("there:", repository.has("file"),
             "error:", error != 0 ? strerrorname_np(error) : "none");
    }

    TemporaryDirectory directory_;
};

TEST_F(AssumedIdentityTest, OpensTheOwnersFile) {
    EXPECT_EQ(run_in_child([&] { note_opening(); }).noted, "there: true error: none\n");
}

TEST_F(AssumedIdentityTest, HasNoPartInWhatIsMadeLater) {
    const ChildRun run = run_in_child([&] {
        { const AssumedIdentity identity(kOwner); }
        directory_.put("later", "x");
        struct stat status {};
        stat(directory_.path("later").c_str(), &status);
        note(status.st_uid, status.st_gid);
    });
    EXPECT_EQ(run.noted, "0 0\n");
}

TEST_F(AssumedIdentityTest, OpensNothingWhereTheUserCannotBeChanged) {
    const ChildRun run = run_in_child([&] {
        testing_support::fail_system_call(SYS_setfsuid, EPERM);
        note_opening();
    });
    EXPECT_EQ(run.noted, "there: false error: EPERM\n");
}

TEST_F(AssumedIdentityTest, OpensNothingWhereGroupsCannotBeGivenUp) {
    const ChildRun run = run_in_child([&] {
        const gid_t group = 1;
        setgroups(1, &group);
        testing_support::fail_system_call(SYS_setgroups, EPERM);
        note_opening();
    });
    EXPECT_EQ(run.noted, "there: false error: EPERM\n");
}

}  // namespace
