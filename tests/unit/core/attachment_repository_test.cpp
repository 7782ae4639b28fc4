// SPDX-License-Identifier: Apache-2.0

#include "core/files/attachment_repository.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "core/panel/mailbox.h"
#include "core/run/rights.h"
#include "support/descriptor.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

class Repository : public testing::Test {
  protected:
    [[nodiscard]] bool has(const std::string& name) const {
        return AttachmentRepository(directory_.path(), ".").has(name);
    }

    // The errno value of opening the file, 0 if that succeeds.
    [[nodiscard]] int error_of(const std::string& name) const {
        return AttachmentRepository(directory_.path(), ".").open(name).error();
    }

    TemporaryDirectory directory_;
};

TEST(RepositoryOfAMailbox, LiesBelowItsOwnNames) {
    const AttachmentRepository repository(Mailbox{"1", "info", "example.com"});
    EXPECT_EQ(repository.path("a.txt"), "/var/qmail/mailnames/example.com/info/@attachments/a.txt");
}

TEST_F(Repository, HasWhateverIsOfThatName) {
    directory_.put("file", "x");
    std::filesystem::create_directory(directory_.path("directory"));
    EXPECT_TRUE(has("file"));
    EXPECT_TRUE(has("directory"));
    EXPECT_FALSE(has("gone"));
}

TEST_F(Repository, HasNoDanglingLink) {
    std::filesystem::create_symlink("nowhere", directory_.path("link"));
    EXPECT_FALSE(has("link"));
}

TEST_F(Repository, OpensAFileForReading) {
    directory_.put("file", "text");
    const AttachmentRepository repository(directory_.path(), ".");
    tolva::Result<OpenedFile> file = repository.open("file");
    ASSERT_TRUE(file);
    std::string text(10, '\0');
    std::size_t length = 0;
    EXPECT_TRUE(file->read_block(text, length));
    EXPECT_EQ(text.substr(0, length), "text");
}

TEST_F(Repository, DoesNotOpenWhatIsNotThere) {
    EXPECT_EQ(error_of("gone"), ENOENT);
}

TEST_F(Repository, DoesNotOpenADirectory) {
    std::filesystem::create_directory(directory_.path("directory"));
    EXPECT_EQ(error_of("directory"), EISDIR);
}

TEST_F(Repository, NeitherWaitsForAPipeNorOpensIt) {
    ASSERT_EQ(mkfifo(directory_.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(error_of("pipe"), EINVAL);
}

TEST_F(Repository, DoesNotOpenAnEndlessDevice) {
    std::filesystem::create_symlink("/dev/zero", directory_.path("zero"));
    EXPECT_EQ(error_of("zero"), EINVAL);
}

TEST_F(Repository, DoesNotOpenASocket) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const std::string path = directory_.path("socket");
    ASSERT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    const tolva::Descriptor socket_file(socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(socket_file.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(error_of("socket"), ENXIO);
}

TEST_F(Repository, RefusesANameThatLeadsOutOfIt) {
    std::filesystem::create_directory(directory_.path("sub"));
    directory_.put("file", "x");
    for (const char* name : {"..", "../file", "sub/../file", "sub/..", "/../x"}) {
        EXPECT_TRUE(has(name)) << name;
        EXPECT_EQ(error_of(name), EACCES) << name;
    }
}

TEST_F(Repository, RefusesANameWhoseComponentsEndEarlierForTheKernel) {
    directory_.put("file", "x");
    const std::string name("..\0x/file", 9);
    EXPECT_TRUE(has(name));
    EXPECT_EQ(error_of(name), EACCES);
}

TEST_F(Repository, TreatsDotsWithinANameAsPartOfIt) {
    directory_.put("..file..", "x");
    EXPECT_EQ(error_of("..file.."), 0);
    EXPECT_EQ(error_of("...x"), ENOENT);
}

TEST_F(Repository, OpensFilesInSubdirectoriesHoweverTheirNameIsWritten) {
    std::filesystem::create_directory(directory_.path("sub"));
    directory_.put("sub/file", "x");
    for (const char* name : {"sub/file", "sub//file", "/sub/file", "./sub/./file"}) {
        EXPECT_EQ(error_of(name), 0) << name;
    }
}

TEST_F(Repository, TreatsANameThatEndsInASlashAsADirectory) {
    std::filesystem::create_directory(directory_.path("sub"));
    directory_.put("file", "x");
    EXPECT_TRUE(has("sub/"));
    EXPECT_EQ(error_of("sub/"), EISDIR);
    EXPECT_FALSE(has("file/"));
    EXPECT_FALSE(has("file/."));
}

TEST_F(Repository, FollowsLinksUpToALimit) {
    // The absolute link goes through a directory that anybody may write to.
    std::filesystem::permissions(directory_.path(), std::filesystem::perms(0755));
    directory_.put("file", "x");
    std::filesystem::create_symlink("file", directory_.path("link"));
    std::filesystem::create_symlink(directory_.path("link"), directory_.path("absolute"));
    std::filesystem::create_symlink("loop", directory_.path("loop"));
    EXPECT_EQ(error_of("link"), 0);
    EXPECT_EQ(error_of("absolute"), 0);
    EXPECT_EQ(error_of("loop"), ELOOP);
    EXPECT_FALSE(has("loop"));
    for (int i = 1; i <= 41; ++i) {
        std::filesystem::create_symlink(i == 1 ? "file" : "link" + std::to_string(i - 1),
                                        directory_.path("link" + std::to_string(i)));
    }
    EXPECT_EQ(error_of("link40"), 0);
    EXPECT_EQ(error_of("link41"), ELOOP);
}

TEST_F(Repository, HasNoNameThatIsTooLong) {
    EXPECT_FALSE(has(std::string(300, 'x')));
    std::string path;
    while (path.size() < 5000) {
        path += "./";
    }
    EXPECT_FALSE(has(path));
}

TEST(RepositoryThatIsMissing, HasNothing) {
    const AttachmentRepository repository("/nonexistent", "domain/mailbox/@attachments");
    EXPECT_FALSE(repository.has("file"));
    EXPECT_EQ(repository.open("file").error(), ENOENT);
}

}  // namespace
