// SPDX-License-Identifier: Apache-2.0

#include "core/send/missing_file_notice.h"

#include <sys/resource.h>

#include <gtest/gtest.h>

#include "core/message/mail_content.h"
#include "tests/unit/support/child_run.h"

namespace {

using namespace autoresponder;

TEST(SentMissingFileNotice, IsReportedWhereThereIsNoPipe) {
    const ChildRun run = run_in_child([] {
        rlimit before{};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit few{3, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        note(send_missing_file_notice({}, Mail_content()));
        setrlimit(RLIMIT_NOFILE, &before);  // the sanitizers open files at the end
    });
    EXPECT_EQ(run.noted, "0\n");
    EXPECT_EQ(run.err,
              "autoresponder: Failed to create pipe to sendmail to notify about missing attachment "
              "files: Too many open files (24)\n");
}

}  // namespace
