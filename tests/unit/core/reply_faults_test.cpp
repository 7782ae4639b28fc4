// SPDX-License-Identifier: Apache-2.0

// How composing copes with failures that only a replaced libidn can cause.

#include <idna.h>

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/files/attachment_repository.h"
#include "core/message/mail_content.h"
#include "core/panel/responder.h"
#include "core/reply/auto_submitted.h"
#include "core/reply/reply.h"
#include "support/log.h"

namespace {

using namespace autoresponder;

bool out_of_memory = false;

std::string written() {
    Mail_content mail;
    mail.from = "ann@correspondent.example";
    mail.to = "info@cli\xC3\xABnt.example";
    ResponderRow row;
    row.text = "Thank you.";
    row.header.charset = "UTF-8";
    row.header.content_type = "text/plain";
    std::ostringstream out;
    write_reply(out, mail, {row, row.header, ReplyMarks(), AttachmentRepository("/", ""), {}, ""});
    return out.str();
}

}  // namespace

extern "C" {

int __real_idna_to_ascii_8z(const char* input, char** output, int flags);

// Succeeds without a text where there is no memory for one.
int __wrap_idna_to_ascii_8z(const char* input, char** output, int flags) {
    if (out_of_memory) {
        *output = nullptr;
        return IDNA_SUCCESS;
    }
    return __real_idna_to_ascii_8z(input, output, flags);
}
}

namespace {

TEST(ReplyFaults, ExhaustedMemoryLeavesOutTheFromHeaderAndIsRecorded) {
    const auto go_on = messlog_set_end([](int) {});
    out_of_memory = true;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string reply = written();
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string err = testing::internal::GetCapturedStderr();
    out_of_memory = false;
    messlog_set_end(go_on);
    EXPECT_EQ(err, "IDN conversion error: the reading process ran out of memory\n");
    EXPECT_EQ(out, err);
    EXPECT_THAT(reply, testing::StartsWith("To: ann@correspondent.example\nMIME-Version: 1.0\n"));
    EXPECT_THAT(reply, testing::EndsWith("\n\nThank you.\n\n\n"));
}

}  // namespace
