// SPDX-License-Identifier: Apache-2.0

#include "core/send/mail_program.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/descriptor.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/private_directory.h"
#include "tests/unit/support/process_state.h"

namespace {

using namespace autoresponder;

TEST(MailProgram, AddressThatBeginsWithAHyphenIsObjectedTo) {
    EXPECT_STREQ(recipient_objection("-bs@b.org"), "the address begins with a hyphen");
    EXPECT_EQ(recipient_objection("a-b@b.org"), nullptr);
    EXPECT_EQ(recipient_objection("\"-a\"@b.org"), nullptr);
    EXPECT_EQ(recipient_objection(""), nullptr);
}

TEST(MailProgram, AddressWithAControlCharacterIsObjectedTo) {
    const char* const objection = "the address holds a control character";
    EXPECT_STREQ(recipient_objection("a@[x\n y]"), objection);
    EXPECT_STREQ(recipient_objection("a@[x\rBcc: y]"), objection);
    EXPECT_STREQ(recipient_objection(std::string_view("a\0b@c", 5)), objection);
    EXPECT_STREQ(recipient_objection("a\x7F@b.org"), objection);
    EXPECT_EQ(recipient_objection("\"a b\"@\xC3\xBC.org"), nullptr);
}

TEST(BadEnd, IsNoneWhereTheStatusIsZero) {
    EXPECT_EQ(bad_status(0), "");
}

TEST(BadEnd, NamesTheStatus) {
    EXPECT_EQ(bad_status(W_EXITCODE(1, 0)), "ended with status 1");
    EXPECT_EQ(bad_status(W_EXITCODE(111, 0)), "ended with status 111");
    EXPECT_EQ(bad_status(W_EXITCODE(255, 0)), "ended with status 255");
}

TEST(BadEnd, NamesTheSignal) {
    EXPECT_EQ(bad_status(W_EXITCODE(0, SIGKILL)), "was ended by signal 9");
    EXPECT_EQ(bad_status(W_EXITCODE(0, SIGSEGV) | WCOREFLAG), "was ended by signal 11");
    EXPECT_EQ(bad_status(W_STOPCODE(SIGSTOP)), "was stopped by signal 19");
}

// Runs shell scripts in the mail program's place.
class StartedProgram : public testing::Test {
  protected:
    void SetUp() override {
        if (!can_make_private("/usr/sbin")) {
            GTEST_SKIP() << "needs root or user namespaces";
        }
    }

    // What `body` notes in a process that finds this script for the mail program.
    static std::string noted(const std::string& script, const std::function<void()>& body) {
        const ChildRun run = run_in_child([&] {
            if (!make_private("/usr/sbin")) {
                std::exit(1);
            }
            std::ofstream(MailProgram::kPath) << "#!/bin/sh\n" << script;
            chmod(MailProgram::kPath, 0755);
            body();
        });
        EXPECT_EQ(run.status, 0) << run.err;
        return run.noted;
    }

    static tolva::Result<MailProgram> started() {
        const tolva::Descriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));
        return MailProgram::start(input, "a@b.org", "c@d.org");
    }
};

TEST_F(StartedProgram, TellsItsStatusOnce) {
    EXPECT_EQ(noted("exit 111\n",
                    [] {
                        auto program = started();
                        note(bad_status(program->wait()));
                        note(program->wait());
                    }),
              "ended with status 111\n0\n");
}

TEST_F(StartedProgram, IsAwaitedByItsOwner) {
    EXPECT_EQ(noted("sleep 0.1; touch /usr/sbin/ended\n",
                    [] {
                        { const auto program = started(); }
                        note(access("/usr/sbin/ended", F_OK));
                        note("children:", testing_support::has_children());
                    }),
              "0\nchildren: false\n");
}

TEST_F(StartedProgram, IsAwaitedByItsLastOwnerOnly) {
    EXPECT_EQ(noted("exit 7\n",
                    [] {
                        auto first = started();
                        MailProgram second(std::move(*first));
                        note(first->wait());  // NOLINT(bugprone-use-after-move)
                        note(bad_status(second.wait()));
                    }),
              "0\nended with status 7\n");
}

TEST_F(StartedProgram, ThatIsStoppedIsNotAwaitedAnyLonger) {
    EXPECT_EQ(noted("echo $$ > /usr/sbin/pid; kill -STOP $$\n",
                    [] {
                        auto program = started();
                        note(bad_status(program->wait()));
                        pid_t pid = -1;
                        if (std::ifstream("/usr/sbin/pid") >> pid && pid > 1) {
                            kill(pid, SIGKILL);
                        }
                    }),
              "was stopped by signal 19\n");
}

TEST_F(StartedProgram, IsAwaitedWhateverSignalsArriveAndWhoeverElseEnds) {
    EXPECT_EQ(noted("sleep 0.5; exit 111\n",
                    [] {
                        const pid_t other = fork();
                        if (other == 0) {
                            usleep(100'000);
                            _exit(3);
                        }
                        testing_support::interrupt_every_20_milliseconds();
                        auto program = started();
                        note(bad_status(program->wait()));
                        int status = 0;
                        const bool found = waitpid(other, &status, 0) == other;
                        note("other:", found, WEXITSTATUS(status));
                    }),
              "ended with status 111\nother: true 3\n");
}

TEST_F(StartedProgram, GetsAllRecipientsAndTheMessage) {
    EXPECT_EQ(noted("printf '%s|' \"$@\" > /usr/sbin/arguments; cat > /usr/sbin/input; exit 2\n",
                    [] {
                        std::ofstream("/usr/sbin/message") << "the mail";
                        tolva::Descriptor message(open("/usr/sbin/message", O_RDONLY));
                        const tolva::Result<int> status =
                            submit_file(std::move(message), "a@b.org",
                                        std::vector<std::string>{"c@d.org", "e@f.org"});
                        note(bad_status(*status));
                        for (const char* file : {"/usr/sbin/arguments", "/usr/sbin/input"}) {
                            std::string text;
                            std::getline(std::ifstream(file), text);
                            note(text);
                        }
                    }),
              "ended with status 2\n-f|a@b.org|c@d.org|e@f.org|\nthe mail\n");
}

}  // namespace
