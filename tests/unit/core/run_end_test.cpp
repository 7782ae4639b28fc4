#include "core/run_end.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace {

bool exists(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0;
}

// Makes both temporary files, so that their end can be watched. The names stay set in this process.
class RunEnd : public testing::Test {
  protected:
    void SetUp() override {
        std::string(mail_template_).copy(mail_file_name, mail_template_.size());
        close(mkstemp(mail_file_name));
        reset_resp_uu_file_name();
        close(mkstemp(resp_uu_file_name));
        ASSERT_TRUE(exists(mail_file_name));
        ASSERT_TRUE(exists(resp_uu_file_name));
    }

    void TearDown() override {
        remove_temporary_files();
        std::string(mail_template_).copy(mail_file_name, mail_template_.size());
        reset_resp_uu_file_name();
    }

    const std::string mail_template_ = "/tmp/tva-autoresponder-XXXXXX";
};

TEST_F(RunEnd, RemovesBothFiles) {
    remove_temporary_files();
    EXPECT_FALSE(exists(mail_file_name));
    EXPECT_FALSE(exists(resp_uu_file_name));
}

TEST_F(RunEnd, CorrectExitRemovesBothFilesAndEndsWithStatusZero) {
    EXPECT_EXIT(correct_exit(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(exists(mail_file_name));
    EXPECT_FALSE(exists(resp_uu_file_name));
}

TEST_F(RunEnd, EndingEarlyWritesTheMessage) {
    EXPECT_EXIT(end_run("autoresponder: the reason "), testing::ExitedWithCode(0),
                "^autoresponder: the reason \n$");
    EXPECT_FALSE(exists(mail_file_name));
    EXPECT_FALSE(exists(resp_uu_file_name));
}

TEST_F(RunEnd, EmptyNameIsLeftAlone) {
    const std::string kept = mail_file_name;
    mail_file_name[0] = '\0';
    remove_temporary_files();
    EXPECT_TRUE(exists(kept));
    EXPECT_FALSE(exists(resp_uu_file_name));
    unlink(kept.c_str());
}

TEST_F(RunEnd, TemplateOfTheReplyComesBack) {
    const std::string made = resp_uu_file_name;
    reset_resp_uu_file_name();
    EXPECT_STREQ(resp_uu_file_name, "/tmp/tva-response-uu-XXXXXX");
    unlink(made.c_str());
}

}  // namespace
