// SPDX-License-Identifier: Apache-2.0

#include "core/run/diagnostics.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "support/log.h"
#include "tests/unit/support/interrupted_pipe.h"

namespace {

using namespace autoresponder;

TEST(Diagnostics, ErrorIsNamedAndNumbered) {
    EXPECT_EQ(error_text(ENOENT), "No such file or directory (2)");
}

TEST(Diagnostics, AReportIsOneLine) {
    testing::internal::CaptureStderr();
    report("autoresponder: ", std::string("a text"), std::string_view(" with \0 in it", 13), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("autoresponder: a text with \0 in it\n", 35));
}

TEST(Diagnostics, AReportIsOneWrite) {
    // In a packet pipe every write is a packet, and every read takes one.
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_DIRECT | O_CLOEXEC), 0);
    const tolva::Descriptor read_end(ends[0]);
    tolva::Descriptor write_end(ends[1]);
    const tolva::Descriptor standard_error(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    ASSERT_EQ(dup2(write_end.get(), STDERR_FILENO), STDERR_FILENO);
    report("one ", "two ", "three");
    ASSERT_EQ(dup2(standard_error.get(), STDERR_FILENO), STDERR_FILENO);
    std::string packet(100, '\0');
    const ssize_t length = read(read_end.get(), packet.data(), packet.size());
    EXPECT_EQ(packet.substr(0, static_cast<std::size_t>(length)), "one two three\n");
}

TEST(Diagnostics, AReportIsWrittenWholeHoweverOftenItIsInterrupted) {
    const std::string text(200000, 'x');  // more than the pipe holds
    const tolva::Descriptor standard_error(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    InterruptedPipe pipe;
    dup2(pipe.write_end(), STDERR_FILENO);
    report("first ", text, " last");
    dup2(standard_error.get(), STDERR_FILENO);
    const std::string& written = pipe.finish();
    EXPECT_TRUE(written == "first " + text + " last\n") << written.size();
}

TEST(Diagnostics, ARecordNamesTheErrorGivenAndNoOlderOne) {
    const auto recorded = [](int error) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        errno = EPERM;
        record(error, "Send error: %s", "the reason");
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), out);
        return out;
    };
    const auto go_on = messlog_set_end([](int) {});
    EXPECT_EQ(recorded(0), "Send error: the reason\n");
    EXPECT_EQ(recorded(ENOENT),
              "Send error: the reason\nSystem error 2: No such file or directory\n");
    messlog_set_end(go_on);
}

}  // namespace
