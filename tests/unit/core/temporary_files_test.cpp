// SPDX-License-Identifier: Apache-2.0

#include "core/run/temporary_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace autoresponder;

bool exists(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0;
}

// As they are before any test has made a file.
const std::string kMailTemplate = mail_file_name;
const std::string kResponseTemplate = resp_uu_file_name;

// Both files are made. The names are process-wide, so the templates come back first.
class TemporaryFiles : public testing::Test {
  protected:
    void SetUp() override {
        kMailTemplate.copy(mail_file_name, kMailTemplate.size());
        kResponseTemplate.copy(resp_uu_file_name, kResponseTemplate.size());
        close(mkstemp(mail_file_name));
        close(mkstemp(resp_uu_file_name));
        ASSERT_TRUE(exists(mail_file_name));
        ASSERT_TRUE(exists(resp_uu_file_name));
    }

    void TearDown() override { remove_temporary_files(); }
};

TEST(TemporaryFileNames, StartOutAsTemplates) {
    EXPECT_EQ(kMailTemplate, "/tmp/tva-autoresponder-XXXXXX");
    EXPECT_EQ(kResponseTemplate, "/tmp/tva-response-uu-XXXXXX");
}

TEST_F(TemporaryFiles, AreBothRemoved) {
    remove_temporary_files();
    EXPECT_FALSE(exists(mail_file_name));
    EXPECT_FALSE(exists(resp_uu_file_name));
}

TEST_F(TemporaryFiles, AreBothRemovedByTheOneEndOfARunWhoseStatusIsZero) {
    EXPECT_EXIT(correct_exit(), testing::ExitedWithCode(0), "^$");
    EXPECT_FALSE(exists(mail_file_name));
    EXPECT_FALSE(exists(resp_uu_file_name));
}

TEST_F(TemporaryFiles, AnEmptyNameIsLeftAlone) {
    const std::string kept = mail_file_name;
    mail_file_name[0] = '\0';
    remove_temporary_files();
    EXPECT_TRUE(exists(kept));
    EXPECT_FALSE(exists(resp_uu_file_name));
    unlink(kept.c_str());
}

}  // namespace
