#include "core/response_file.h"

#include <sys/stat.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/send_error.h"
#include "core/temporary_files.h"

namespace {

std::string contents() {
    std::ifstream file(resp_uu_file_name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(ResponseFile, IsReadableForItsOwnerOnly) {
    const ResponseFile file;
    struct stat status {};
    ASSERT_EQ(stat(resp_uu_file_name, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(ResponseFile, IsRemovedWithItsOwner) {
    std::optional<ResponseFile> file(std::in_place);
    const std::string name = resp_uu_file_name;
    struct stat status {};
    EXPECT_EQ(stat(name.c_str(), &status), 0);
    file.reset();
    EXPECT_NE(stat(name.c_str(), &status), 0);
}

TEST(ResponseFile, EveryFileOfARunHasANewName) {
    std::string first;
    {
        const ResponseFile file;
        first = resp_uu_file_name;
    }
    const ResponseFile file;
    EXPECT_NE(resp_uu_file_name, first);
    EXPECT_EQ(first.substr(0, 21), "/tmp/tva-response-uu-");
    EXPECT_EQ(std::string(resp_uu_file_name).substr(0, 21), "/tmp/tva-response-uu-");
}

TEST(ResponseFile, WritingAgainReplacesWhatWasThere) {
    const ResponseFile file;
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "a long first text\n"; });
    file.write(SizeLimit::none(), [](std::ostream& out) { out << "short\n"; });
    EXPECT_EQ(contents(), "short\n");
}

TEST(ResponseFile, TextThatCannotBeWrittenWholeIsAnError) {
    const ResponseFile file;
    testing::internal::CaptureStderr();
    EXPECT_THROW(file.write(SizeLimit::none(),
                            [](std::ostream& out) { out.setstate(std::ios_base::badbit); }),
                 std::runtime_error);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::StartsWith("autoresponder: Failed to write temporary file with response "
                                    "mail contents '/tmp/tva-response-uu-"));
}

}  // namespace
