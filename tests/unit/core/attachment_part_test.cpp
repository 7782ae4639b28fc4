// SPDX-License-Identifier: Apache-2.0

#include "core/reply/attachment_part.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/files/attachment_repository.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

class AttachmentPart : public testing::Test {
  protected:
    [[nodiscard]] std::string written(const std::string& name) const {
        std::ostringstream out;
        write_attachment_part(out, AttachmentRepository(directory_.path(), "."), name);
        return out.str();
    }

    // What follows the empty line after the part's headers.
    [[nodiscard]] std::string body(const std::string& name) const {
        const std::string part = written(name);
        return part.substr(part.find("\n\n") + 2);
    }

    TemporaryDirectory directory_;
};

TEST_F(AttachmentPart, IsItsHeadersTheFileInBase64AndAnEmptyLine) {
    directory_.put("a.txt", "ABC");
    EXPECT_EQ(written("a.txt"),
              "Content-Type: application/octet-stream\n"
              "Content-Transfer-Encoding: base64\n"
              "Content-Disposition: attachment;\n"
              "\tfilename=\"a.txt\"\n"
              "\n"
              "QUJD\n"
              "\n");
}

TEST_F(AttachmentPart, NameIsAnEncodedWordWhereItNeedsToBe) {
    const std::string name = "Pr\xC3\xA9sentation \"1\".pdf";
    directory_.put(name, "x");
    EXPECT_THAT(written(name),
                testing::HasSubstr("\tfilename=\"=?utf-8?Q?Pr=C3=A9sentation_=221=22.pdf?=\"\n"));
}

TEST_F(AttachmentPart, EveryLineButTheLastHoldsFortyFiveBytes) {
    const std::string full = std::string(60, 'Q') + "\n";  // base64 of bytes 0x41 0x04 0x10 ...
    std::string bytes;
    for (int i = 0; i < 15; ++i) {
        bytes += "\x41\x04\x10";
    }
    directory_.put("44", bytes.substr(0, 44));
    directory_.put("45", bytes);
    directory_.put("46", bytes + "A");
    EXPECT_EQ(body("44"), std::string(58, 'Q') + "Q=\n\n");
    EXPECT_EQ(body("45"), full + "\n");
    EXPECT_EQ(body("46"), full + "QQ==\n\n");
}

TEST_F(AttachmentPart, LinesRunOnAcrossTheBlocksInWhichTheFileIsRead) {
    constexpr std::size_t several_blocks = std::size_t{45} * 1024 * 2;
    for (const std::size_t size : {several_blocks - 1, several_blocks, several_blocks + 1}) {
        directory_.put("large", std::string(size, 'x'));
        std::string expected;
        for (std::size_t line = 0; line < size / 45; ++line) {
            for (int group = 0; group < 15; ++group) {
                expected += "eHh4";
            }
            expected += "\n";
        }
        const std::size_t rest = size % 45;
        for (std::size_t group = 0; group < rest / 3; ++group) {
            expected += "eHh4";
        }
        expected += rest % 3 == 1 ? "eA==" : rest % 3 == 2 ? "eHg=" : "";
        expected += rest != 0 ? "\n\n" : "\n";
        EXPECT_EQ(body("large"), expected) << size;
    }
}

TEST_F(AttachmentPart, OfAnEmptyFileHasNoLines) {
    directory_.put("empty", "");
    EXPECT_EQ(body("empty"), "\n");
}

TEST_F(AttachmentPart, OfAFileThatCannotBeReadIsReportedAndLeftEmpty) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(body("gone"), "\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "autoresponder: Failed to read attachement file '" + directory_.path("./gone") +
                  "': No such file or directory (2)\n");
}

TEST_F(AttachmentPart, IsReadNoFurtherThanTheStreamTakesIt) {
    // A sparse file that nobody could read to its end.
    directory_.put("endless", "");
    std::filesystem::resize_file(directory_.path("endless"), std::uintmax_t{1} << 42);
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    write_attachment_part(out, AttachmentRepository(directory_.path(), "."), "endless");
    EXPECT_EQ(out.str(), "");
}

}  // namespace
