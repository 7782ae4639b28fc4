// SPDX-License-Identifier: Apache-2.0

#include "support/log.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_allocation.h"
#include "tests/unit/support/private_directory.h"
#include "tests/unit/support/process_state.h"

namespace {

constexpr std::size_t kBuffer = 4096;
const std::string kEnoent = "\nSystem error 2: No such file or directory";

// What messlog2(0, 0, "%s", text) writes with errno as given, the same on both streams.
std::string written(const std::string& text, int error = 0) {
    const ChildRun run = run_in_child([&] {
        errno = error;
        messlog2(0, 0, "%s", text.c_str());
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, run.err);
    return run.err;
}

void report_through_va_list(int status, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vmesslog2(status, 0, format, args);
    va_end(args);
}

TEST(Messlog, WritesToBothStreamsAndReturnsOnStatusZero) {
    const ChildRun run = run_in_child([] {
        messlog2(0, 0, "%s has %d parts", "it", 3);
        std::fputs("returned\n", stdout);
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "it has 3 parts\n");
    EXPECT_EQ(run.out, "it has 3 parts\nreturned\n");
}

// A stream that is written to when it is flushed, and notes it then.
FILE* noting_stream(const char* name) {
    const cookie_io_functions_t functions = {nullptr,
                                             [](void* cookie, const char* text, std::size_t size) {
                                                 note(static_cast<const char*>(cookie),
                                                      std::string_view(text, size));
                                                 return static_cast<ssize_t>(size);
                                             },
                                             nullptr, nullptr};
    return fopencookie(const_cast<char*>(name), "w", functions);
}

// What body writes to the streams, in the order in which it leaves them.
std::string writes_of(const std::function<void()>& body) {
    return run_in_child([&body] {
               stderr = noting_stream("standard error:");
               stdout = noting_stream("standard output:");
               body();
               note("returned");
               _exit(0);
           })
        .noted;
}

TEST(Messlog, WritesAndFlushesStandardErrorFirst) {
    EXPECT_EQ(writes_of([] { messlog2(0, 0, "text"); }),
              "standard error: text\n\nstandard output: text\n\nreturned\n");
}

TEST(Messlog, EndsTheProcessWithTheStatusAfterWritingToBothStreams) {
    for (const int status : {1, 7}) {
        const ChildRun run = run_in_child([status] {
            messlog2(status, 0, "fatal");
            std::fputs("returned\n", stdout);
        });
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.err, "fatal\n");
        EXPECT_EQ(run.out, "fatal\n");
    }
}

TEST(Messlog, TakesAnArgumentList) {
    const ChildRun run = run_in_child([] { report_through_va_list(1, "%s %s", "one", "two"); });
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "one two\n");
    EXPECT_EQ(run.out, "one two\n");
}

TEST(Messlog, FlagIsNotUsed) {
    const ChildRun run = run_in_child([] { messlog2(0, -1, "text"); });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "text\n");
}

TEST(Messlog, BaseNameOfPrognameStandsInFront) {
    const std::array<std::array<const char*, 2>, 4> cases{
        {{"/usr/local/bin/answer", "answer: text\n"},
         {"answer", "answer: text\n"},
         {"./answer", "answer: text\n"},
         {"", ": text\n"}}};
    for (const auto& [name, expected] : cases) {
        const ChildRun run = run_in_child([name = name] {
            PROGNAME = name;
            messlog2(0, 0, "text");
        });
        EXPECT_EQ(run.err, expected);
        EXPECT_EQ(run.out, expected);
    }
}

TEST(Messlog, LeavesTheTextOfPrognameAsItIs) {
    std::string name = "/usr/bin/answer/";
    const ChildRun run = run_in_child([&] {
        PROGNAME = name.c_str();
        messlog2(0, 0, "text");
        std::fputs(name.c_str(), stdout);
    });
    EXPECT_EQ(run.out, ": text\n/usr/bin/answer/");
}

TEST(Messlog, LineFeedIsAddedUnlessTheTextEndsWithOne) {
    EXPECT_EQ(written("text"), "text\n");
    EXPECT_EQ(written("text\n"), "text\n");
    EXPECT_EQ(written("text\n\n"), "text\n\n");
    EXPECT_EQ(written("\n"), "\n");
    EXPECT_EQ(written(""), "\n");
}

TEST(Messlog, ErrnoZeroCarriesNoSystemError) {
    EXPECT_EQ(written("text", 0), "text\n");
}

TEST(Messlog, PendingSystemErrorFollowsTheText) {
    EXPECT_EQ(written("text", ENOENT), "text" + kEnoent + "\n");
    EXPECT_EQ(written("text\n", ENOENT), "text\n" + kEnoent + "\n");
    EXPECT_EQ(written("", EACCES), "\nSystem error 13: Permission denied\n");
}

TEST(Messlog, SystemErrorThatJustFitsInTheBufferIsWritten) {
    const std::string text(kBuffer - 1 - kEnoent.size(), 'x');
    EXPECT_EQ(written(text, ENOENT), text + kEnoent + "\n");
}

TEST(Messlog, SystemErrorThatDoesNotFitCompletelyIsLeftOut) {
    const std::string text(kBuffer - kEnoent.size(), 'x');
    EXPECT_EQ(written(text, ENOENT), text + "\n");
}

TEST(Messlog, LongMessageIsWrittenWholeWithoutTheSystemError) {
    for (const std::size_t length : {kBuffer - 1, kBuffer, kBuffer + 1, std::size_t{5000}}) {
        const std::string text(length, 'x');
        EXPECT_EQ(written(text, ENOENT), text + "\n");
        EXPECT_EQ(written(text, 0), text + "\n");
    }
}

TEST(Messlog, ErrnoIsKept) {
    const ChildRun run = run_in_child([] {
        errno = ENOENT;
        messlog2(0, 0, "%s", std::string(5000, 'x').c_str());
        note(testing_support::error_name());
    });
    EXPECT_EQ(run.noted, "ENOENT\n");
}

TEST(Messlog, ErrnoIsKeptWhereNothingCanBeWritten) {
    const ChildRun run = run_in_child([] {
        const int full = open("/dev/full", O_WRONLY);
        dup2(full, STDOUT_FILENO);
        dup2(full, STDERR_FILENO);
        errno = ENOENT;
        messlog2(0, 0, "text");
        note(testing_support::error_name());
    });
    EXPECT_EQ(run.noted, "ENOENT\n");
}

TEST(Messlog, FormattingSeesTheErrnoOfTheCall) {
    const ChildRun run = run_in_child([] {
        errno = ENOENT;
        const std::string format = "%5000s%m";  // glibc's, unknown to the compiler's check
        messlog2(0, 0, format.c_str(), "");
    });
    EXPECT_EQ(run.err, std::string(5000, ' ') + "No such file or directory\n");
}

TEST(Messlog, UnformattableMessageIsEmpty) {
    const ChildRun run = run_in_child([] {
        const wchar_t invalid[] = {static_cast<wchar_t>(0x7fffffff), 0};
        messlog2(0, 0, "%ls", invalid);
    });
    EXPECT_EQ(run.err, "\n");
}

TEST(Messlog, FixedTextIsReportedWithoutMemoryForTheMessage) {
    const std::string expected = "answer: Can't allocate memory for error message\n";
    for (const int status : {0, 1}) {
        const ChildRun run = run_in_child([status] {
            PROGNAME = "answer";
            errno = ENOENT;
            const FailingAllocation failing(1);
            messlog2(status, 0, "text");
            note(testing_support::error_name());
        });
        EXPECT_EQ(run.status, status);
        EXPECT_EQ(run.noted, status == 0 ? "ENOENT\n" : "");
        EXPECT_EQ(run.err, expected);
        EXPECT_EQ(run.out, expected);
    }
}

TEST(Messlog, MessageIsCutWithoutMemoryForAllOfIt) {
    const std::string text(5000, 'x');
    const ChildRun run = run_in_child([&text] {
        errno = ENOENT;
        const FailingAllocation failing(2);
        messlog2(0, 0, "%s", text.c_str());
    });
    EXPECT_EQ(run.err, std::string(kBuffer - 1, 'x') + "\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(ExMesslog, WritesAFinishedTextAndReturnsZeroForStatusZero) {
    const ChildRun run = run_in_child([] {
        char text[] = "100% finished";
        errno = ENOENT;
        std::printf("%d\n", ex_messlog(text, 0, 1));
    });
    EXPECT_EQ(run.err, "100% finished\n");
    EXPECT_EQ(run.out, "100% finished\n0\n");
}

TEST(ExMesslog, EndsTheProcessWithAnotherStatus) {
    const ChildRun run = run_in_child([] {
        char text[] = "text";
        ex_messlog(text, 3, 0);
    });
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.out, "text\n");
}

void note_status(int status) {
    std::printf("end %d\n", status);
}

TEST(MesslogSetEnd, FunctionThatReturnsLetsTheReporterReturn) {
    const ChildRun run = run_in_child([] {
        messlog_set_end(note_status);
        char text[] = "first";
        std::printf("returned %d\n", ex_messlog(text, 5, 0));
        messlog2(6, 0, "second");
        messlog2(0, 0, "third");
    });
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "first\nsecond\nthird\n");
    EXPECT_EQ(run.out, "first\nend 5\nreturned 5\nsecond\nend 6\nthird\n");
}

TEST(MesslogSetEnd, ReturnsTheFunctionBeforeAndNullSetsExitAgain) {
    const ChildRun run = run_in_child([] {
        note("exit:", messlog_set_end(note_status) == std::exit);
        note("set:", messlog_set_end(nullptr) == note_status);
        note("exit:", messlog_set_end(nullptr) == std::exit);
        messlog2(9, 0, "text");
    });
    EXPECT_EQ(run.noted, "exit: true\nset: true\nexit: true\n");
    EXPECT_EQ(run.status, 9);
}

void log_at_all_levels() {
    for (const int level : {-3, -1, 0, 1, 3}) {
        tolva_log(level, "text");
    }
}

TEST(TolvaLog, IsDisabledBeforeItIsInitialised) {
    const ChildRun run = run_in_child(log_at_all_levels);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "");
}

TEST(TolvaLog, ConsoleInAnyLetterCaseAndAsABeginningEnablesTheConsole) {
    for (const char* target : {"console", "CONSOLE", "cOnSoLe", "console:stderr", "Consoles"}) {
        const ChildRun run = run_in_child([target] {
            tolva_log_init(target, 3, LOG_USER, 0, "ident");
            tolva_log(3, "%s %d", "text", 5);
        });
        EXPECT_EQ(run.err, "text 5\n") << target;
        EXPECT_EQ(run.out, "text 5\n") << target;
    }
}

TEST(TolvaLog, WritesAndFlushesStandardErrorFirst) {
    EXPECT_EQ(writes_of([] {
                  tolva_log_init("console", 1, LOG_USER, 0, "ident");
                  tolva_log(1, "text");
              }),
              "standard error: text\n\nstandard output: text\n\nreturned\n");
}

TEST(TolvaLog, AnotherTargetLeavesItDisabled) {
    for (const char* target : {"", "consol", "syslog", " console", "/var/log/file"}) {
        const ChildRun run = run_in_child([target] {
            tolva_log_init(target, 3, LOG_USER, 0, "ident");
            log_at_all_levels();
        });
        EXPECT_EQ(run.err, "") << target;
        EXPECT_EQ(run.out, "") << target;
    }
}

TEST(TolvaLog, LevelBelowOneDisables) {
    for (const int level : {0, -1}) {
        const ChildRun run = run_in_child([level] {
            tolva_log_init("console", level, LOG_USER, 0, "ident");
            log_at_all_levels();
        });
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.out, "");
    }
}

TEST(TolvaLog, LevelsUpToTheConfiguredOneAreWritten) {
    const ChildRun run = run_in_child([] {
        tolva_log_init("console", 3, LOG_USER, 0, "ident");
        for (const int level : {4, 3, 2, 12, 0, -1}) {
            tolva_log(level, "level %d", level);
        }
    });
    EXPECT_EQ(run.err, "level 3\nlevel 2\nlevel 0\nlevel -1\n");
    EXPECT_EQ(run.out, run.err);
}

TEST(TolvaLog, LineFeedIsAddedToAnyText) {
    const ChildRun run = run_in_child([] {
        PROGNAME = "answer";
        tolva_log_init("console", 1, LOG_USER, 0, "ident");
        errno = ENOENT;
        tolva_log(1, "text\n");
    });
    EXPECT_EQ(run.err, "text\n\n");
    EXPECT_EQ(run.out, run.err);
}

void log_through_va_list(const char* format, ...) {
    va_list args;
    va_start(args, format);
    tolva_logv(1, format, args);
    va_end(args);
}

TEST(TolvaLog, TakesAnArgumentList) {
    const ChildRun run = run_in_child([] {
        tolva_log_init("console", 1, LOG_USER, 0, "ident");
        log_through_va_list("%s %d", "text", 7);
    });
    EXPECT_EQ(run.err, "text 7\n");
    EXPECT_EQ(run.out, "text 7\n");
}

int listen_on_dev_log() {
    const int receiver = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    if (bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        std::exit(2);
    }
    return receiver;
}

// The next message at the receiver: priority, identity and text, without the time between them.
void print_received(int receiver) {
    std::array<char, 1024> datagram{};
    const ssize_t length = recv(receiver, datagram.data(), datagram.size(), MSG_DONTWAIT);
    const std::string message(datagram.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t priority_end = message.find('>') + 1;
    const std::string time = "Jan 31 23:59:59 ";
    std::printf("%s%s\n", message.substr(0, priority_end).c_str(),
                message.substr(priority_end + time.size()).c_str());
}

TEST(TolvaLog, NullTargetWritesToTheSystemLog) {
    if (!can_make_private("/dev")) {
        GTEST_SKIP() << "needs root or user namespaces";
    }
    const ChildRun run = run_in_child([] {
        make_private("/dev");
        const int receiver = listen_on_dev_log();
        tolva_log_init("console", 1, LOG_USER, 0, "earlier");
        tolva_log_init(nullptr, 1, LOG_LOCAL3, 0, "ident");
        tolva_log(LOG_INFO, "%s %d", "text", 5);
        print_received(receiver);
        log_through_va_list("%s %d", "list", 6);
        print_received(receiver);
        std::fprintf(stderr, "ident[%d]: ", getpid());
    });
    ASSERT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "<" + std::to_string(LOG_LOCAL3 | LOG_INFO) + ">" + run.err + "text 5\n" +
                           "<" + std::to_string(LOG_LOCAL3 | LOG_ALERT) + ">" + run.err +
                           "list 6\n");
}

TEST(TolvaLog, NullTargetPassesTheOptionsOnAndALaterTargetReplacesIt) {
    const ChildRun run = run_in_child([] {
        make_private("/dev");  // if possible: the text is not for the machine's own log
        tolva_log_init(nullptr, 0, LOG_USER, LOG_PERROR, "ident");
        tolva_log(LOG_DEBUG, "to the system log");
        tolva_log_init("console", 1, LOG_USER, 0, "ident");
        tolva_log(1, "to the console");
        std::printf("ident[%d]: ", getpid());
    });
    ASSERT_EQ(run.status, 0);
    const std::string console = "to the console\n";
    ASSERT_TRUE(run.out.starts_with(console));
    EXPECT_EQ(run.err, run.out.substr(console.size()) + "to the system log\n" + console);
}

}  // namespace
