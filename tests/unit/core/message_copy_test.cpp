// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_copy.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/run/temporary_files.h"
#include "tests/unit/support/process_state.h"

namespace {

using namespace autoresponder;

class Copy : public testing::Test {
  protected:
    void SetUp() override { template_.copy(mail_file_name, template_.size()); }
    void TearDown() override { unlink(mail_file_name); }

    static std::string contents() {
        const auto file = MessageCopy::open();
        std::string text(1000, '\0');
        const ssize_t length = read(file->get(), text.data(), text.size());
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        return text;
    }

    const std::string template_ = "/tmp/tva-autoresponder-XXXXXX";
};

// While it lives, files cannot grow beyond `bytes`, and a write that tries fails with EFBIG.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

  private:
    void (*handler_)(int);
    rlimit before_{};
};

TEST_F(Copy, HoldsWhatWasAppendedAndIsReadFromItsStart) {
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    copy->append("From: a@b.org\n");
    copy->append("");
    copy->append(std::string_view("\0\n", 2));
    EXPECT_EQ(contents(), std::string("From: a@b.org\n\0\n", 16));
    EXPECT_TRUE(copy->whole());
}

TEST_F(Copy, IsReadableForItsOwnerOnly) {
    const auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    struct stat status {};
    ASSERT_EQ(stat(mail_file_name, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Copy, IsAPrefixAlsoWhenLaterWritesWouldSucceed) {
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    copy->append("kept,");
    {
        const FileSizeLimit limit(5);
        copy->append("lost,");
    }
    copy->append("would fit");
    EXPECT_EQ(contents(), "kept,");
    EXPECT_EQ(copy->whole().error(), EFBIG);
}

TEST_F(Copy, HoldsTheFirstPartOfAWriteThatDidNotFit) {
    auto copy = MessageCopy::make();
    ASSERT_TRUE(copy);
    {
        const FileSizeLimit limit(7);
        copy->append("0123456789");
    }
    copy->append("0123456789");
    EXPECT_EQ(contents(), "0123456");
    EXPECT_EQ(copy->whole().error(), EFBIG);
}

TEST_F(Copy, CannotBeMadeWithoutDescriptors) {
    const testing_support::NoMoreDescriptors limit;
    EXPECT_EQ(MessageCopy::make().error(), EMFILE);
}

TEST_F(Copy, CannotBeOpenedOnceItIsGone) {
    ASSERT_TRUE(MessageCopy::make());
    unlink(mail_file_name);
    const auto file = MessageCopy::open();
    EXPECT_FALSE(file);
    EXPECT_EQ(file.error(), ENOENT);
}

}  // namespace
