// SPDX-License-Identifier: Apache-2.0

#include "core/reply/auto_submitted.h"

#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "core/message/header_fields.h"
#include "core/message/message_id.h"

namespace {

using namespace autoresponder;

std::string written(const ReplyMarks& marks) {
    std::ostringstream out;
    marks.write(out);
    return out.str();
}

std::string marks_of(std::string_view header) {
    return written(ReplyMarks(message_id(HeaderFields(header))));
}

TEST(ReplyMarks, AreNoneByDefault) {
    EXPECT_EQ(written(ReplyMarks()), "");
}

TEST(ReplyMarks, NameTheMessageThatIsAnswered) {
    EXPECT_EQ(marks_of("Subject: x\nMESSAGE-ID:\r\n\t<a.1@b.org>\r\nMessage-ID: <other@b.org>\n"),
              "Auto-Submitted: auto-replied\n"
              "In-Reply-To: <a.1@b.org>\n"
              "References: <a.1@b.org>\n");
}

TEST(ReplyMarks, NameNoMessageWithoutAWellFormedId) {
    EXPECT_EQ(marks_of("Subject: x\n"), "Auto-Submitted: auto-replied\n");
    EXPECT_EQ(marks_of("Message-ID: x\nMessage-ID: <a@b.org>\n"), "Auto-Submitted: auto-replied\n");
}

TEST(ReplyMarks, LeaveOutAnIdThatIsNotWellFormed) {
    for (const std::string_view id : {"<a@b>\nBcc: x@y", "a@b", "<a@b> ", "<a>"}) {
        EXPECT_EQ(written(ReplyMarks(id)), "Auto-Submitted: auto-replied\n") << id;
    }
}

}  // namespace
