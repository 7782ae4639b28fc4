// SPDX-License-Identifier: Apache-2.0

#include "core/files/user_mounts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <optional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

// What the list says of the device 0:52.
std::string said(const std::string& list) {
    std::istringstream mounts(list);
    const std::optional<bool> users = is_listed_as_users(mounts, makedev(0, 52));
    return !users ? "nothing" : *users ? "a user's" : "root's";
}

std::string line(const std::string& type_and_options) {
    return "36 35 98:0 / / rw,noatime master:1 - ext4 /dev/root rw\n"
           "73 36 0:52 / /mnt/a\\040b rw,nosuid,nodev shared:7 master:2 - " +
           type_and_options + "\n40 36 0:53 / /other rw - tmpfs tmpfs rw\n";
}

TEST(MountList, NamesTheUserWhoMountedAFuse) {
    EXPECT_EQ(said(line("fuse x rw,user_id=5001,group_id=0,allow_other")), "a user's");
    EXPECT_EQ(said(line("fuse.sshfs bob@host:/dir rw,user_id=5001,group_id=5001")), "a user's");
    EXPECT_EQ(said(line("fuse x rw,user_id=0,group_id=0")), "root's");
    EXPECT_EQ(said(line("fuseblk /dev/sdb1 rw,group_id=0,user_id=0")), "root's");
}

TEST(MountList, IsNotTakenInByWhatAUserMayWriteThere) {
    EXPECT_EQ(said(line("fuse user_id=0 rw,user_id=5001")), "a user's");
    EXPECT_EQ(said(line("fuse x,user_id=0, rw,user_id=5001")), "a user's");
    EXPECT_EQ(said(line("fuse  rw,user_id=5001")), "a user's");
    EXPECT_EQ(said(line("fuse.,user_id=0, x rw,user_id=05001")), "a user's");
    EXPECT_EQ(said(line("fuse x rw,user_id=00")), "a user's");
    EXPECT_EQ(said(line("fuse x rw")), "a user's");
    EXPECT_EQ(said("73 36 0:52 / /mnt rw,user_id=0"), "a user's");
}

TEST(MountList, HasOtherFileSystemsOnlyOfRoots) {
    EXPECT_EQ(said(line("nfs4 server:/user_id=5001 rw,vers=4.2")), "root's");
    EXPECT_EQ(said(line("virtiofs share rw")), "root's");
}

TEST(MountList, SaysNothingOfADeviceThatIsNotInIt) {
    EXPECT_EQ(said("36 35 98:0 / / rw - ext4 /dev/root rw\n"), "nothing");
    EXPECT_EQ(said("36 35 0:521 / / rw - fuse x rw,user_id=1\n"), "nothing");
    EXPECT_EQ(said("52 35 10:52 / / rw - fuse x rw,user_id=1\n"), "nothing");
    EXPECT_EQ(said(""), "nothing");
}

TEST(UserMountOfADescriptor, IsNoneWhereRootHasMountedTheFileSystem) {
    const TemporaryDirectory directory;
    for (const std::string& path : {directory.path(), std::string("/proc"), std::string("/")}) {
        const tolva::Descriptor descriptor(open(path.c_str(), O_PATH | O_CLOEXEC));
        struct stat status {};
        ASSERT_EQ(fstat(descriptor.get(), &status), 0);
        EXPECT_FALSE(is_on_user_mount(descriptor.get(), status.st_dev)) << path;
    }
}

TEST(UserMountOfADescriptor, IsAssumedWhereNothingIsKnown) {
    EXPECT_TRUE(is_on_user_mount(-1, makedev(0, 1'000'000)));
}

}  // namespace
