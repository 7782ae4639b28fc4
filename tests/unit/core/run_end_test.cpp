#include "core/run_end.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "core/temporary_files.h"

namespace {

// What is known of a file, as text.
const char* state_of(const char* name) {
    struct stat status {};
    return stat(name, &status) == 0 ? "there" : "gone";
}

TEST(CorrectExit, RemovesBothFilesAndEndsWithStatusZero) {
    std::string("/tmp/tva-autoresponder-XXXXXX").copy(mail_file_name, 29);
    std::string("/tmp/tva-response-uu-XXXXXX").copy(resp_uu_file_name, 27);
    close(mkstemp(mail_file_name));
    close(mkstemp(resp_uu_file_name));
    EXPECT_STREQ(state_of(mail_file_name), "there");
    EXPECT_EXIT(correct_exit(), testing::ExitedWithCode(0), "^$");
    EXPECT_STREQ(state_of(mail_file_name), "gone");
    EXPECT_STREQ(state_of(resp_uu_file_name), "gone");
}

TEST(EndOfRun, CarriesItsReason) {
    EXPECT_EQ(EndOfRun("autoresponder: the reason ").reason(), "autoresponder: the reason ");
}

TEST(EndOfRun, IsNoFailureThatTheRunSurvives) {
    static_assert(!std::is_base_of_v<std::exception, EndOfRun>);
}

}  // namespace
