// SPDX-License-Identifier: Apache-2.0

// What a stranger gains who captures the process that reads the message: nothing but that the
// message says something else.

#include "tests/system/captured_reader.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/reader/reading.h"
#include "tests/system/mail_program.h"

namespace {

namespace fs = std::filesystem;

using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

using autoresponder::Fact;

constexpr auto kSender = static_cast<std::uint32_t>(Fact::kSender);
constexpr auto kSubject = static_cast<std::uint32_t>(Fact::kSubject);
constexpr auto kInHeader = static_cast<std::uint32_t>(Fact::kInHeader);
constexpr auto kAll = static_cast<std::uint32_t>(Fact::kAll);

constexpr const char* kPasswordFile = "/etc/tva/.tva.shadow";
constexpr const char* kSignalled =
    "autoresponder: Ended by a signal before the message was dealt with.\n";

// "EPERM EPERM EPERM" and the like.
std::string times(std::size_t number, const std::string& word) {
    std::string text = word;
    for (std::size_t i = 1; i < number; ++i) {
        text += " " + word;
    }
    return text;
}

std::string joined(const std::vector<std::string>& deeds) {
    std::string text;
    for (const std::string& deed : deeds) {
        text.append(text.empty() ? "" : ";").append(deed);
    }
    return text;
}

double seconds_of(const rusage& usage) {
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

class CapturedReader : public CapturedProcess {
  protected:
    void SetUp() override {
        if (!kernel_has_landlock() || !kernel_has_filters()) {
            GTEST_SKIP() << "the kernel has no Landlock, or no filters of system calls";
        }
        CapturedProcess::SetUp();
    }

    // Nothing that these deeds were to do was done, for those reasons.
    void expect_refused(const std::vector<std::string>& deeds, const std::string& error,
                        const Invocation& how = {}) {
        std::string refused;
        for (const std::string& deed : deeds) {
            refused.append(deed).append(": ").append(error).append("\n");
        }
        EXPECT_EQ(outcomes_of(deeds, how), refused);
    }

    // What the captured reader of that run sees of it, and does to it.
    static std::vector<std::string> attacks_on(pid_t process) {
        const std::string id = std::to_string(process);
        return {"kill " + id,  "kill-thread " + id, "open-process " + id,
                "trace " + id, "read-memory " + id, "limit " + id};
    }

    static std::vector<std::string> readings_of(pid_t process) {
        const std::string directory = "/proc/" + std::to_string(process);
        return {"read " + directory + "/mem", "read " + directory + "/environ",
                "read " + directory + "/status"};
    }

    const Invocation without_landlock_ = {.hide_landlock = true};
    const Invocation without_filters_ = {.hide_filters = true};
    const Invocation without_both_ = {.hide_landlock = true, .hide_filters = true};
};

TEST_F(CapturedReader, CannotReadThePasswordOfTheDatabase) {
    const std::string read = std::string("read ") + kPasswordFile;
    for (const Invocation& how : {Invocation(), without_landlock_, without_filters_}) {
        expect_refused({read}, "EACCES", how);
    }
    // Not even where it may do all that its user may.
    expect_refused({read}, "EACCES", without_both_);
}

TEST_F(CapturedReader, HasNoPasswordInItsMemory) {
    if (kSanitized) {
        GTEST_SKIP() << "too much memory to search";
    }
    const std::string search = "search-memory ";
    EXPECT_EQ(outcome_of(search + hexadecimal(inverted("sender@example.org"))), "found");
    EXPECT_EQ(outcome_of(search + hexadecimal(inverted(right_password()))), "none");
}

TEST_F(CapturedReader, CannotBecomeRoot) {
    const std::vector<std::string> deeds = {"setuid", "setgid", "setgroups", "capset", "chroot /"};
    expect_refused(deeds, "EPERM");
    expect_refused({"user-namespace"}, "EPERM");
    expect_refused(deeds, "EPERM", without_both_);
}

TEST_F(CapturedReader, CannotTraceOrSignalItsParent) {
    Held held = hold();
    std::vector<std::string> deeds = attacks_on(held.program->pid());
    deeds.insert(deeds.end(), {"signal-all", "parent", "outlive-parent", "become-traceable"});
    EXPECT_EQ(outcome_of(held, joined(deeds)), times(deeds.size(), "EPERM"));
    held = hold();
    const auto readings = readings_of(held.program->pid());
    EXPECT_EQ(outcome_of(held, joined(readings)), times(readings.size(), "EACCES"));
}

TEST_F(CapturedReader, CannotTraceOrSignalItsParentByItsUsersRights) {
    const Held held = hold(without_both_);
    const std::string id = std::to_string(held.program->pid());
    EXPECT_EQ(outcome_of(held, joined({"kill " + id, "kill-thread " + id, "trace " + id,
                                       "read-memory " + id, "limit " + id})),
              times(5, "EPERM"));
    const Held other = hold(without_both_);
    const std::string directory = "/proc/" + std::to_string(other.program->pid());
    EXPECT_EQ(
        outcome_of(other, joined({"read " + directory + "/mem", "read " + directory + "/environ"})),
        times(2, "EACCES"));
}

TEST_F(CapturedReader, CannotTraceOrSignalAnotherRunsReader) {
    const Held held = hold();
    go_on(held, "wait");
    const pid_t reader = waiting_reader_of(*held.program);
    expect_refused(attacks_on(reader), "EPERM");
    expect_refused(readings_of(reader), "EACCES");
    const std::string id = std::to_string(reader);
    expect_refused({"trace " + id, "read-memory " + id}, "EPERM", without_both_);
    expect_refused({"read /proc/" + id + "/mem"}, "EACCES", without_both_);
    EXPECT_EQ(kill(reader, 0), 0);
    forget_mails();
    held.program->signal(SIGTERM);
    const Outcome outcome = settle(held);
    EXPECT_EQ(outcome.err, kSignalled);
    EXPECT_THAT(outcome.mails, IsEmpty());
}

TEST_F(CapturedReader, ReachesNeitherTheDatabaseNorAnythingElse) {
    const std::string database = std::getenv("MYSQL_UNIX_PORT");
    answer(plain_message());
    const std::vector<std::string> usual = statements();
    SetUp();
    EXPECT_EQ(outcome_of("connect " + database), "EPERM");
    EXPECT_EQ(statements(), usual);
    expect_refused(
        {"socket 1 1", "socket 1 2", "socket 2 1", "socket 2 2", "socket 2 3", "socket 10 1",
         "socket 10 2", "socket 16 3", "socket 17 3", "socketpair", "ring"},
        "EPERM");
    EXPECT_EQ(outcome_of("send-to " + database), "EISCONN");
}

TEST_F(CapturedReader, WritesNowhere) {
    write_file("/world/open/file", "untouched");
    fs::permissions("/world/open", fs::perms::all);
    fs::permissions("/world/open/file", fs::perms::all);
    const std::vector<std::string> writings = {
        "make /world/open/new",   "change /world/open/file", "make-nameless /world/open",
        "empty /world/open/file", "make /tmp/new",           "make-nameless /tmp",
        "make /dev/shm/new",      "change /dev/null",        "change /proc/self/mem",
        "change /proc/self/comm", "empty /proc/self/comm"};
    const std::vector<std::string> changes = {
        "truncate /world/open/file", "remove /world/open/file", "rename /world/open/file",
        "symlink /world/open/file",  "mkdir /world/open/new",   "mkfifo /world/open/new"};
    expect_refused(writings, "EPERM");
    expect_refused(changes, "EPERM");
    expect_refused({"link /world/open/file", "chmod /world/open/file", "utimes /world/open/file"},
                   "EPERM");
    expect_refused(writings, "EACCES", without_filters_);
    expect_refused(changes, "EACCES", without_filters_);
    expect_refused({"chmod /world/open/file"}, "EPERM", without_filters_);
    EXPECT_THAT(lines_of("/world/open/file"), ElementsAre("untouched"));
    EXPECT_EQ(std::distance(fs::directory_iterator("/world/open"), {}), 1);
    fs::remove_all("/world/open");
}

TEST_F(CapturedReader, CannotChangeTheRunsOwnFiles) {
    Held held = hold();
    const std::string& copy = held.copy;
    EXPECT_EQ(outcome_of(held, joined({"change " + copy, "truncate " + copy, "remove " + copy,
                                       "rename " + copy, "link " + copy, "chmod " + copy})),
              times(6, "EPERM"));
    held = hold(without_both_);
    EXPECT_EQ(outcome_of(held, joined({"change " + held.copy, "truncate " + held.copy,
                                       "read " + held.copy})),
              times(3, "EACCES"));
    EXPECT_EQ(outcome_of("descriptors"), "none");
}

TEST_F(CapturedReader, StartsNoPrograms) {
    expect_refused({"exec /bin/true", "exec-memory #!/bin/true", "fork", "clone 0", "clone 69376"},
                   "EPERM");
    // By Landlock, unless the limit of its user's processes comes first.
    Invocation exec = invocation_for("exec /bin/true");
    exec.hide_filters = true;
    EXPECT_THAT(outcome_of(exec), AnyOf("EACCES", "EAGAIN"));
    expect_refused({"fork", "clone 0"}, "EAGAIN", without_both_);
}

TEST_F(CapturedReader, TakesNoMoreMemoryThanItsShare) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers take more than a share";
    }
    EXPECT_EQ(outcome_of("private-memory 40"), "done");
    const std::vector<std::string> ways = {"private-memory 65", "heap 65", "protected-memory 65",
                                           "memory-from-stack 65", "page-tables 65"};
    expect_refused(ways, "ENOMEM");
    expect_refused({"shared-memory 1", "stack-memory 1", "file-in-memory 1", "shared-segment 1",
                    "raise-limit"},
                   "EPERM");
    expect_refused(ways, "ENOMEM", without_both_);
    expect_refused({"shared-memory 65", "stack-memory 65"}, "ENOMEM", without_both_);
    expect_refused({"raise-limit"}, "EPERM", without_both_);

    Invocation with_any_stack = invocation_for("grow-stack 65");
    with_any_stack.limits = {{RLIMIT_STACK, RLIM_INFINITY}};
    expect_unread(with_any_stack, "the reading process was ended by signal 11");
}

TEST_F(CapturedReader, HasAShareThatGrowsWithTheMessage) {
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers take more than a share";
    }
    Invocation large = invocation_for("private-memory 90");
    large.message.append(2'000'000, 'x');
    EXPECT_EQ(outcome_of(large), "done");
    large = invocation_for("private-memory 120");
    large.message.append(2'000'000, 'x');
    EXPECT_EQ(outcome_of(large), "ENOMEM");
}

// At the same time, as each takes 10 s of a processor.
TEST_F(CapturedReader, EndsWhenItsTimeIsOver) {
    const Held obedient = hold();
    const Held stubborn = hold();
    go_on(obedient, "never-end");
    go_on(stubborn, "ignore-end-of-time;never-end");
    const Finished ended = end_of(obedient);
    const Finished killed = end_of(stubborn);
    // On a busy machine it may be given up before it has had that time.
    const std::string given_up = unread("the reading process was not done after 30 s");
    EXPECT_THAT(
        ended.err,
        AnyOf(unread("the reading process took more than 10 s of processor time"), given_up));
    EXPECT_THAT(killed.err, AnyOf(unread("the reading process was ended by signal 9"), given_up));
    EXPECT_LT(seconds_of(ended.usage), 11);
    EXPECT_LT(seconds_of(killed.usage), 12);
    EXPECT_EQ(temporary_files(), obedient.temporary_files_before);
    EXPECT_THAT(captured_mails(), IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

// At the same time, as each takes half a minute.
TEST_F(CapturedReader, IsGivenUpWhenItStalls) {
    const Held silent = hold();
    const Held slow = hold();
    go_on(silent, "wait");
    go_on(slow, "say-slowly " + hexadecimal(item(kSubject, "x")));
    // It answers the first question before it comes, and does not take the next ones. They are more
    // than can wait for it in the kernel.
    write_file("/etc/tva/tva.conf", "AUTORESPONDER_ONLY_PEOPLE true\n");
    sql("insert into mail_aliases (mn_id, alias) select 1, repeat('x', 200) from seq_1_to_5000");
    const Held deaf = hold();
    go_on(deaf, "say " +
                    hexadecimal(item(kSender, "sender@example.org") + item(kAll, "") +
                                item(kInHeader, number(0))) +
                    ";sleep-on-futex 100");
    const std::string given_up = unread("the reading process was not done after 30 s");
    EXPECT_EQ(end_of(silent).err, given_up);
    EXPECT_EQ(end_of(slow).err, given_up);
    EXPECT_EQ(end_of(deaf).err, given_up);
    EXPECT_EQ(temporary_files(), silent.temporary_files_before);
    EXPECT_THAT(captured_mails(), IsEmpty());
}

TEST_F(CapturedReader, EndsWithTheRun) {
    const Held held = hold();
    go_on(held, "sleep-on-futex 100");
    const pid_t reader = waiting_reader_of(*held.program, SYS_futex);
    held.program->signal(SIGTERM);
    EXPECT_EQ(settle(held).err, kSignalled);
    EXPECT_TRUE(soon([&] { return kill(reader, 0) != 0; }));
}

TEST_F(CapturedReader, CrashEndsTheRunInOrder) {
    expect_unread("crash", "the reading process was ended by signal 11");
    expect_unread("end 0", "the reading process ended before it was done");
    expect_unread("end 3", "the reading process ended before it was done");
}

TEST_F(CapturedReader, ComplainsNoMoreThanItsShare) {
    constexpr rlim_t most = 100UL * 1024 * 1024;  // so that a failure does not fill the memory
    Invocation invocation = invocation_for("complain-for-ever captured");
    invocation.limits = {{RLIMIT_FSIZE, most}};
    const Outcome outcome = run(invocation);
    EXPECT_THAT(outcome.err.substr(0, 100), StartsWith("captured\ncaptured\n"));
    EXPECT_THAT(outcome.err.substr(outcome.err.size() - 100),
                EndsWith(unread("the reading process was ended by signal 9")));
    EXPECT_LT(outcome.err.size(), 64UL * 1024 * 1024 + 20 * invocation.message.size() + 100);
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CapturedReader, CannotPutOtherFilesIntoTheSubject) {
    const std::vector<std::string> readings = {
        "read /etc/passwd",     "read /etc/hostname", "read /proc/self/environ",
        "read /proc/1/cmdline", "read /etc",          "read /"};
    expect_refused(readings, "EACCES");
    expect_refused(readings, "EACCES", without_filters_);
    const Held held = hold();
    EXPECT_EQ(outcome_of(held, "read " + held.copy), "EACCES");
    // What it needs of the system it may read.
    EXPECT_THAT(outcome_of("read /usr/lib/os-release"), testing::HasSubstr("NAME"));
}

TEST_F(CapturedReader, IsConfinedAsFarAsTheKernelCan) {
    EXPECT_THAT(outcomes_of({"read /etc/passwd", "fork"}, without_landlock_),
                testing::MatchesRegex("read /etc/passwd: root:(.|\n)*\nfork: EPERM\n"));
    EXPECT_EQ(outcomes_of({"read /etc/passwd", "parent"}, without_filters_),
              "read /etc/passwd: EACCES\nparent: done\n");
    EXPECT_EQ(outcomes_of({"setuid", "parent"}, without_both_), "setuid: EPERM\nparent: done\n");
}

TEST_F(CapturedReader, IsConfinedWhereTheProgramIsNotRootToo) {
    // As an administrator would have it who runs it so.
    fs::permissions(kPasswordFile, fs::perms(0644));
    fs::permissions(kMailDirectory, fs::perms(0777));
    const Invocation by_nobody = {.as_nobody = true};
    expect_refused({std::string("read ") + kPasswordFile, "read /etc/passwd"}, "EACCES", by_nobody);
    expect_refused({"setuid", "fork", "exec /bin/true", "make /tmp/new", "socket 1 1",
                    std::string("connect ") + std::getenv("MYSQL_UNIX_PORT")},
                   "EPERM", by_nobody);
    if (!kSanitized) {
        expect_refused({"private-memory 65"}, "ENOMEM", by_nobody);
    }
    Held held = hold(by_nobody);
    auto deeds = attacks_on(held.program->pid());
    EXPECT_EQ(outcome_of(held, joined(deeds)), times(deeds.size(), "EPERM"));
    held = hold(by_nobody);
    deeds = readings_of(held.program->pid());
    deeds.push_back("read " + held.copy);
    EXPECT_EQ(outcome_of(held, joined(deeds)), times(deeds.size(), "EACCES"));
    Invocation crashing = invocation_for("crash");
    crashing.as_nobody = true;
    expect_unread(crashing, "the reading process was ended by signal 11");
}

// How the reader looks from outside while it waits.
class WaitingReader : public CapturedReader {
  protected:
    void look(const std::string& user, const std::string& group, const Invocation& how) {
        const Held held = hold(how);
        go_on(held, "wait");
        const pid_t reader = waiting_reader_of(*held.program);
        const std::string directory = "/proc/" + std::to_string(reader);
        const auto four = [](const std::string& id) { return id + id + id + id + "\n"; };
        const std::string none = "0000000000000000\n";
        EXPECT_EQ(status_of(reader, {"Uid", "Gid", "Groups", "CapInh", "CapPrm", "CapEff", "CapAmb",
                                     "NoNewPrivs", "Seccomp", "Threads"}),
                  "Uid:" + four(user) + "Gid:" + four(group) +
                      "Groups:\nThreads:1\nCapInh:" + none + "CapPrm:" + none + "CapEff:" + none +
                      "CapAmb:" + none + "NoNewPrivs:1\nSeccomp:2\n");
        // That of a process that can be traced belongs to its user.
        struct stat environment {};
        EXPECT_EQ(stat((directory + "/environ").c_str(), &environment), 0);
        EXPECT_EQ(environment.st_uid, 0U);
        expect_own_descriptors(directory + "/fd");
        held.program->signal(SIGTERM);
        EXPECT_EQ(settle(held).err, kSignalled);
        EXPECT_TRUE(soon([&] { return !fs::exists(directory); }));
    }

    static void expect_own_descriptors(const fs::path& directory) {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        EXPECT_THAT(names, ElementsAre("0", "1", "2"));
        EXPECT_THAT(fs::read_symlink(directory / "0").string(), StartsWith("socket:"));
        EXPECT_THAT(fs::read_symlink(directory / "1").string(), StartsWith("pipe:"));
        EXPECT_EQ(fs::read_symlink(directory / "1"), fs::read_symlink(directory / "2"));
    }

    const Invocation with_groups_ = {.groups = {0, 4321}};
};

TEST_F(WaitingReader, RunsAsItsUserWithoutAnyRights) {
    replace_users(
        "root:x:0:0:root:/root:/bin/sh\n"
        "_autoresponder:x:4711:4712::/nonexistent:/usr/sbin/nologin\n");
    look("4711", "4712", with_groups_);
}

TEST_F(WaitingReader, RunsAsNobodyWhereThatUserIsMissing) {
    replace_users("root:x:0:0:root:/root:/bin/sh\n");
    look("65534", "65534", with_groups_);
}

TEST_F(WaitingReader, RunsAsTheUserOfAProgramThatIsNotRoot) {
    look("65534", "65534", {.as_nobody = true});
}

}  // namespace
