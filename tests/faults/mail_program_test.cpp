// SPDX-License-Identifier: Apache-2.0

// The mail program cannot be started, or ends early at every stage.

#include <sys/syscall.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/faults/full_run.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kMailProgram = "/usr/sbin/sendmail";
constexpr const char* kStarts = "/world/starts";

class FailingMailProgram : public FullRun {
  protected:
    // The mail program is a script that notes its start. Every mail of the run gets one.
    void endure_script(const std::string& name, const std::string& script) {
        replace_mail_program("echo >>" + std::string(kStarts) + "\n" + script);
        fs::remove(kStarts);
        endure({.name = name, .invocation = plain_start(), .mails_are_stored = false});
        EXPECT_EQ(lines_of(kStarts).size(), 7U) << name;
    }

    // The ends that a process can come to, as commands of the shell.
    static std::vector<std::string> ends() {
        std::vector<std::string> commands = {"exit 0\n", "exit 75\n", "kill -KILL $$\n"};
        if (every_fault()) {
            for (const char* more : {"exit 1\n", "exit 111\n", "exit 255\n", "kill -TERM $$\n",
                                     "kill -SEGV $$\n", "kill -PIPE $$\n", "exec false\n"}) {
                commands.emplace_back(more);
            }
        }
        return commands;
    }
};

TEST_F(FailingMailProgram, ThatCannotBeStarted) {
    remove_mail_program();
    endure({.name = "no mail program", .invocation = plain_start()});
    fs::create_directories(kMailProgram);
    endure({.name = "a directory in its place", .invocation = plain_start()});
    fs::remove(kMailProgram);
    write_file(kMailProgram, "");
    endure({.name = "not executable", .invocation = plain_start()});
    fs::permissions(kMailProgram, fs::perms::owner_all);
    endure({.name = "no program at all", .invocation = plain_start()});
    write_file(kMailProgram, "#!/no/such/interpreter\n");
    endure({.name = "no interpreter for it", .invocation = plain_start()});
}

TEST_F(FailingMailProgram, WithoutAPipeToItTheNoticeIsNotSentAndTheReplyIs) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers open pipes for their checks";
    }
    const std::size_t all = run(plain_start()).mails.size();
    bool met = false;
    for (int pipe = 1; pipe <= 8; ++pipe) {
        sql("delete from resp_freq");
        const Outcome outcome = run(with_failing_call(
            plain_start(), std::to_string(SYS_pipe2) + ":" + std::to_string(pipe) + ":error:24"));
        if (outcome.err.find("autoresponder: Failed to create pipe to sendmail to notify about "
                             "missing attachment files: Too many open files (24)\n") !=
            std::string::npos) {
            met = true;
            EXPECT_EQ(outcome.mails.size(), all - 1) << outcome.err;
        }
    }
    EXPECT_TRUE(met);
}

TEST_F(FailingMailProgram, ThatEndsBeforeItHasReadAll) {
    const std::vector<int> sizes = every_fault()
                                       ? std::vector{0, 1, 17, 100, 300, 450, 1000, 4096, 20000}
                                       : std::vector{0, 100};
    for (const int size : sizes) {
        for (const std::string& end : ends()) {
            endure_script("ends after " + std::to_string(size) + " bytes: " + end,
                          "head -c " + std::to_string(size) + " >/dev/null\n" + end);
        }
    }
}

TEST_F(FailingMailProgram, ThatClosesItsInputAndGoesOn) {
    endure_script("closes its input", "exec <&-\nsleep 0.05\n");
}

TEST_F(FailingMailProgram, ThatFailsWithTheWholeMail) {
    for (const std::string& end : ends()) {
        replace_mail_program("(exec -a \"$0\" \"$CAPTURE\" \"$@\")\n" + end);
        endure({.name = "has read all: " + end, .invocation = plain_start()});
    }
}

// The one mail that is written through a pipe, larger than the pipe.
TEST_F(FailingMailProgram, ThatBreaksOffALargeNotice) {
    sql("insert into resp_attach (rn_id, filename) select 1, concat('gone', seq, repeat('x', 200))"
        " from seq_1_to_1000");
    const std::vector<int> sizes =
        every_fault() ? std::vector{0, 1, 4096, 65536, 100000, 131072} : std::vector{0, 65536};
    for (const int size : sizes) {
        for (const std::string& end : ends()) {
            const std::string script = "if [[ $2 == root@localhost ]]; then head -c " +
                                       std::to_string(size) + " >/dev/null\n" + end + "fi\n" +
                                       "exec cat >/dev/null\n";
            replace_mail_program(script);
            sql("delete from resp_freq");
            const Outcome outcome = outlive("notice broken off", plain_start());
            EXPECT_THAT(
                outcome.err,
                testing::HasSubstr("Unable to send mail with notify of not exist attachment.\n"));
        }
    }
}

}  // namespace
