// SPDX-License-Identifier: Apache-2.0

#include "support/pipestream.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <locale>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/exec.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/process_state.h"
#include "tests/unit/support/test_pipe.h"

namespace {

using testing_support::has_children;
using testing_support::open_descriptors;
using testing_support::outcome;
using testing_support::TestPipe;

using PopenStream = basic_handlestream<PipeCloseStrategy, OutputStreamStrategy>;

static_assert(std::is_base_of_v<std::ostream, ofd_pipestream>);
static_assert(std::is_base_of_v<OutputStreamStrategy, ofd_pipestream>);
static_assert(!std::is_convertible_v<ofd_pipestream*, OutputStreamStrategy*>);
static_assert(sizeof(ofd_pipestream) == sizeof(PopenStream));

std::string content_of(int file) {
    std::array<char, 100> content{};
    const ssize_t size = pread(file, content.data(), content.size(), 0);
    return {content.data(), static_cast<size_t>(size)};
}

TEST(OfdPipestream, WritesWhatIsInserted) {
    TestPipe ends;
    {
        ofd_pipestream stream(ends.release_write_end());
        EXPECT_TRUE(stream.good());
        stream << "From: " << 12 << '\n' << std::string("a\0b", 3);
    }
    EXPECT_EQ(ends.text(), std::string("From: 12\na\0b", 12));
}

TEST(OfdPipestream, ItsDestructionGivesTheReaderEndOfFile) {
    TestPipe ends;
    const long before = open_descriptors();
    { const ofd_pipestream stream(ends.release_write_end()); }
    EXPECT_EQ(open_descriptors(), before - 1);
    EXPECT_EQ(ends.text(), "");
}

TEST(OfdPipestream, WritesABufferOf8192BytesAtATime) {
    TestPipe ends;
    int held = 0;
    {
        ofd_pipestream stream(ends.release_write_end());
        for (int i = 0; i < 8191; ++i) {
            stream.put('x');
        }
        EXPECT_EQ(ioctl(ends.read_end(), FIONREAD, &held), 0);
        EXPECT_EQ(held, 0);
        stream << "yz";
        EXPECT_EQ(ioctl(ends.read_end(), FIONREAD, &held), 0);
        EXPECT_GE(held, 8191);
    }
    EXPECT_EQ(ends.text(), std::string(8191, 'x') + "yz");
}

TEST(OfdPipestream, LosesNothingOfOutputLargerThanItsBuffer) {
    TestPipe ends;
    const int write_end = ends.release_write_end();
    std::string written;
    for (int i = 0; i < 50000; ++i) {
        written += std::to_string(i) + "\n";
    }
    std::thread writer([write_end] {
        ofd_pipestream stream(write_end);
        for (int i = 0; i < 50000; ++i) {
            stream << i << '\n';
        }
    });
    const std::string text = ends.text();
    writer.join();
    EXPECT_EQ(text, written);
}

TEST(OfdPipestream, FeedsAProgramThatIsWaitedFor) {
    TestPipe in;
    TestPipe out;
    const pid_t pid =
        fork_execl_pipes(in.read_end(), out.write_end(), 2, "/usr/bin/wc", "wc", "-c", nullptr);
    in.close_read_end();
    out.close_write_end();
    {
        ofd_pipestream stream(in.release_write_end());
        stream << std::string(100000, 'x');
    }
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, WUNTRACED), pid);
    EXPECT_EQ(outcome(status), "exit 0");
    EXPECT_EQ(out.text(), "100000\n");
}

TEST(OfdPipestream, OverABareDescriptorDoesNotWaitForAProcess) {
    const pid_t pid = fork();
    if (pid == 0) {
        _exit(3);
    }
    TestPipe ends;
    { const ofd_pipestream stream(ends.release_write_end()); }
    ends.close_read_end();
    int status = -1;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(outcome(status), "exit 3");
}

TEST(OfdPipestream, CannotBeUsedOverADescriptorThatIsNotOpen) {
    ofd_pipestream stream(-1);
    EXPECT_TRUE(stream.bad());
    stream << "lost";
    EXPECT_TRUE(stream.fail());
}

TEST(OfdPipestream, ClosesADescriptorThatItCannotUse) {
    TestPipe ends;
    const long before = open_descriptors();
    {
        const ofd_pipestream stream(ends.release_read_end());
        EXPECT_TRUE(stream.bad());
    }
    EXPECT_EQ(open_descriptors(), before - 1);
    ends.close_write_end();
}

TEST(OfdPipestream, AReaderThatHasGoneShowsInTheStreamWhereSigpipeIsIgnored) {
    const ChildRun run = run_in_child([] {
        signal(SIGPIPE, SIG_IGN);
        TestPipe ends;
        ends.close_read_end();
        ofd_pipestream stream(ends.release_write_end());
        stream << "text" << std::flush;
        note("bad:", stream.bad());
    });
    EXPECT_EQ(run.noted, "bad: true\n");
}

TEST(OfdPipestream, ItsDestructionSurvivesAReaderThatHasGone) {
    const ChildRun run = run_in_child([] {
        signal(SIGPIPE, SIG_IGN);
        TestPipe ends;
        ends.close_read_end();
        const long before = open_descriptors();
        {
            ofd_pipestream stream(ends.release_write_end());
            stream << "text";
        }
        note("closed:", before - open_descriptors());
    });
    EXPECT_EQ(run.noted, "closed: 1\n");
}

// A conversion that throws when what is pending is written.
class ThrowingConversion : public std::codecvt<char, char, std::mbstate_t> {
  protected:
    bool do_always_noconv() const noexcept override { return false; }
    result do_out(std::mbstate_t& /*state*/, const char* /*from*/, const char* /*from_end*/,
                  const char*& /*from_next*/, char* /*to*/, char* /*to_end*/,
                  char*& /*to_next*/) const override {
        throw std::runtime_error("no conversion");
    }
};

TEST(OfdPipestream, AnExceptionFromClosingEndsTheProgram) {
    const ChildRun run = run_in_child([] {
        std::set_terminate([] {
            note("terminated");
            _exit(0);
        });
        TestPipe ends;
        {
            ofd_pipestream stream(ends.release_write_end());
            stream.imbue(std::locale(std::locale::classic(), new ThrowingConversion));
            stream << "text";
        }
        note("went on");
    });
    EXPECT_EQ(run.noted, "terminated\n");
}

TEST(Handlestream, OverAPopenStreamSendsAllAndWaits) {
    const ChildRun run = run_in_child([] {
        const long before = open_descriptors();
        {
            PopenStream stream(popen("sleep 0.1; cat; echo end", "w"));
            stream << "first\n" << std::string(20000, 'x') << "\nlast\n";
        }
        note("children:", has_children(), "descriptors:", open_descriptors() - before);
    });
    EXPECT_EQ(run.noted, "children: false descriptors: 0\n");
    EXPECT_EQ(run.out, "first\n" + std::string(20000, 'x') + "\nlast\nend\n");
}

TEST(Handlestream, KeepsTheOrderWithWhatTheStdioStreamHadBefore) {
    const ChildRun run = run_in_child([] {
        FILE* process = popen("cat", "w");
        std::fputs("before ", process);
        PopenStream stream(process);
        stream << "after\n";
    });
    EXPECT_EQ(run.out, "before after\n");
}

TEST(Handlestream, SurvivesAProcessThatEndsWithoutReading) {
    const ChildRun run = run_in_child([] {
        signal(SIGPIPE, SIG_IGN);
        FILE* process = popen("exit 0", "w");
        siginfo_t ended{};
        waitid(P_ALL, 0, &ended, WEXITED | WNOWAIT);
        {
            PopenStream stream(process);
            stream << "nobody reads this";
        }
        note("children:", has_children());
    });
    EXPECT_EQ(run.noted, "children: false\n");
}

TEST(Handlestream, OverNoStdioStreamCannotBeUsed) {
    PopenStream stream(static_cast<FILE*>(nullptr));
    EXPECT_TRUE(stream.bad());
    stream << "lost";
    EXPECT_TRUE(stream.fail());
}

struct RecordingClose {
    static inline int closed = 0;
    static void close(FILE* handle) noexcept {
        ++closed;
        std::fclose(handle);
    }
};

using RecordingStream = basic_handlestream<RecordingClose, OutputStreamStrategy>;

TEST(Handlestream, ClosesAHandleByItsStrategyAndADescriptorWithoutIt) {
    RecordingClose::closed = 0;
    TestPipe ends;
    { const RecordingStream stream(ends.release_write_end()); }
    EXPECT_EQ(RecordingClose::closed, 0);
    EXPECT_EQ(ends.text(), "");

    std::FILE* file = std::tmpfile();
    const int kept = dup(fileno(file));
    {
        RecordingStream stream(file);
        stream << "text";
    }
    EXPECT_EQ(RecordingClose::closed, 1);
    EXPECT_EQ(content_of(kept), "text");
    close(kept);
}

TEST(Handlestream, ClosesWhatItIsBuiltOverWithoutMemoryForTheBuffer) {
    const auto make_stream = [](auto over) {
        const FailingAllocation memory(1);
        const RecordingStream stream(over);
    };
    const long before = open_descriptors();
    RecordingClose::closed = 0;
    EXPECT_THROW(make_stream(std::tmpfile()), std::bad_alloc);
    EXPECT_EQ(RecordingClose::closed, 1);
    EXPECT_THROW(make_stream(dup(STDOUT_FILENO)), std::bad_alloc);
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
