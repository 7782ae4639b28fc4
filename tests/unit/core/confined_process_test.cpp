// SPDX-License-Identifier: Apache-2.0

#include "core/run/confined_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/run/file_access.h"
#include "core/run/rights.h"
#include "core/run/system_call_filter.h"
#include "core/run/unprivileged_user.h"
#include "tests/unit/core/temporary_directory.h"

namespace {

using namespace autoresponder;

constexpr std::uint32_t kText = ConfinedEnd::kFirstFreeKind;
constexpr std::uint32_t kOther = ConfinedEnd::kFirstFreeKind + 1;

// What the work puts as kText, all together; "error: " and why it was not done.
std::string done_by(const std::function<void(ConfinedEnd&)>& work, std::size_t size = 100) {
    std::string text;
    try {
        ConfinedProcess process(size, work);
        while (const auto item = process.next()) {
            text += item->bytes;
        }
    } catch (const ConfinedProcessError& error) {
        return std::string("error: ") + error.what();
    } catch (const std::runtime_error& error) {
        return std::string("thrown: ") + error.what();
    }
    return text;
}

// What a call that yields -1 for failure comes to in a confined process.
std::string outcome_of(const std::function<long()>& call) {
    return done_by([&](ConfinedEnd& end) {
        errno = 0;
        const long result = call();
        end.out().put(kText, result == -1 ? strerrorname_np(errno) : "done");
    });
}

TEST(ConfinedProcess, HandsOverWhatItPuts) {
    EXPECT_EQ(done_by([](ConfinedEnd& end) {
                  end.out().put(kText, "one ");
                  end.out().put(kText, "two");
              }),
              "one two");
    EXPECT_EQ(done_by([](ConfinedEnd& /*end*/) {}), "");
}

TEST(ConfinedProcess, AnswersUntilNobodyAsks) {
    ConfinedProcess process(100, [](ConfinedEnd& end) {
        for (;;) {
            const std::string asked(end.next().bytes);
            end.out().put(kText, asked + "!");
        }
    });
    for (const std::string asked : {"one", "two"}) {
        process.put(kOther, asked);
        process.flush();
        const auto item = process.next();
        ASSERT_TRUE(item);
        EXPECT_EQ(item->bytes, asked + "!");
    }
}

TEST(ConfinedProcess, PassesItsStandardErrorOnBeforeItsItems) {
    testing::internal::CaptureStderr();
    ConfinedProcess process(100, [](ConfinedEnd& end) {
        const std::string line = std::string(999, 'x') + "\n";
        for (int i = 0; i < 300; ++i) {  // more than a pipe takes at a time
            static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
        }
        end.out().put(kText, "");
        end.out().put_number(kOther, 0);
    });
    EXPECT_TRUE(process.next());
    EXPECT_EQ(testing::internal::GetCapturedStderr().size(), 300'000U);
}

TEST(ConfinedProcess, PassesOnWhatTheWorkThrows) {
    EXPECT_EQ(done_by([](ConfinedEnd&) { throw std::out_of_range("no such place"); }),
              "thrown: no such place");
    EXPECT_EQ(done_by([](ConfinedEnd&) { throw std::bad_alloc(); }),
              "error: the reading process ran out of memory");
}

TEST(ConfinedProcess, TellsHowItEnded) {
    EXPECT_EQ(done_by([](ConfinedEnd&) { _exit(3); }),
              "error: the reading process ended before it was done");
    EXPECT_EQ(done_by([](ConfinedEnd&) { __builtin_trap(); }),
              "error: the reading process was ended by signal 4");
    EXPECT_EQ(done_by([](ConfinedEnd&) {
                  static_cast<void>(!write(STDIN_FILENO, "\x10\0\0\0\xFF\xFF\xFF\xFFno item", 15));
                  for (;;) {
                      pause();
                  }
              }),
              "error: the reading process was ended by signal 9");
}

// The lines of /proc/PID/status of the child of this process that begin so, without the white
// space.
std::string status_of_child(const std::vector<std::string>& names) {
    std::ifstream children("/proc/thread-self/children");
    std::string child;
    children >> child;
    std::ifstream status("/proc/" + child + "/status");
    std::string found;
    for (std::string line; std::getline(status, line);) {
        for (const std::string& name : names) {
            if (line.starts_with(name + ":")) {
                std::erase_if(line, [](char c) { return c == '\t' || c == ' '; });
                found += line + "\n";
            }
        }
    }
    return found;
}

TEST(ConfinedProcess, HasNoRights) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "this takes root";
    }
    ConfinedProcess process(100, [](ConfinedEnd& end) {
        end.out().put(kText, "");
        end.next();
    });
    ASSERT_TRUE(process.next());
    const Identity user = unprivileged_identity();
    const auto four = [](unsigned id) {
        const std::string text = std::to_string(id);
        return text + text + text + text;
    };
    EXPECT_EQ(status_of_child({"Uid", "Gid", "Groups", "CapInh", "CapPrm", "CapEff", "CapAmb",
                               "NoNewPrivs", "Seccomp"}),
              "Uid:" + four(user.user) + "\nGid:" + four(user.group) +
                  "\nGroups:\n"
                  "CapInh:0000000000000000\nCapPrm:0000000000000000\nCapEff:0000000000000000\n"
                  "CapAmb:0000000000000000\nNoNewPrivs:1\nSeccomp:" +
                  (can_filter_system_calls() ? "2\n" : "0\n"));
}

TEST(ConfinedProcess, MakesNoSystemCallsBesidesReadingAndComputing) {
    if (!can_filter_system_calls()) {
        GTEST_SKIP() << "the kernel has no filters";
    }
    const pid_t parent = getpid();
    EXPECT_EQ(outcome_of([] { return fork(); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return execl("/bin/true", "true", nullptr); }), "EPERM");
    EXPECT_EQ(outcome_of([=] { return kill(parent, 0); }), "EPERM");
    EXPECT_EQ(outcome_of([=] { return ptrace(PTRACE_ATTACH, parent, nullptr, nullptr); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return socket(AF_UNIX, SOCK_STREAM, 0); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return setuid(0); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return open("/tmp/confined", O_WRONLY | O_CREAT, 0600); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return open("/tmp", O_RDWR | O_TMPFILE, 0600); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return unlink("/tmp/confined"); }), "EPERM");
    EXPECT_EQ(outcome_of([] { return memfd_create("x", 0); }), "EPERM");
    EXPECT_EQ(outcome_of([] {
                  const rlimit more{RLIM_INFINITY, RLIM_INFINITY};
                  return setrlimit(RLIMIT_CPU, &more);
              }),
              "EPERM");
    const auto mapped = [](int flags) {
        return outcome_of([flags] {
            return mmap(nullptr, 4096, PROT_READ | PROT_WRITE, flags, -1, 0) == MAP_FAILED ? -1 : 0;
        });
    };
    EXPECT_EQ(mapped(MAP_ANONYMOUS | MAP_SHARED), "EPERM");
    EXPECT_EQ(mapped(MAP_ANONYMOUS | MAP_PRIVATE | MAP_GROWSDOWN), "EPERM");
    EXPECT_EQ(mapped(MAP_ANONYMOUS | MAP_PRIVATE), "done");
}

TEST(ConfinedProcess, ReadsNoFilesByNameButLibraries) {
    if (!can_confine_file_access()) {
        GTEST_SKIP() << "the kernel has no Landlock";
    }
    const TemporaryDirectory directory;
    directory.put("file", "x");
    for (const std::string& path :
         {std::string("/etc/passwd"), directory.path("file"), std::string("/proc/self/environ")}) {
        EXPECT_EQ(outcome_of([&] { return open(path.c_str(), O_RDONLY); }), "EACCES") << path;
    }
    EXPECT_EQ(outcome_of([] { return open("/usr/lib", O_RDONLY | O_DIRECTORY); }), "done");
}

#ifndef AUTORESPONDER_SANITIZED
TEST(ConfinedProcess, TakesNoMoreMemoryThanItsShare) {
    const auto take = [](std::size_t size) {
        return [size](ConfinedEnd&) { std::string(size, 'x').back() = 'y'; };
    };
    EXPECT_EQ(done_by(take(50'000'000)), "");
    EXPECT_EQ(done_by(take(100'000'000)), "error: the reading process ran out of memory");
    EXPECT_EQ(done_by(take(100'000'000), 3'000'000), "");
}
#endif

TEST(ConfinedProcess, HandsOverNoMoreThanItsShare) {
    EXPECT_EQ(done_by([](ConfinedEnd& end) {
                  const std::string much(10'000'000, 'x');
                  for (int i = 0; i < 10; ++i) {
                      end.out().put(kText, much);
                  }
                  pause();
              }),
              "error: the reading process was ended by signal 9");
}

TEST(ConfinedProcess, ThatCannotBeStartedSaysWhy) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{3, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const std::string error = done_by([](ConfinedEnd&) {});
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(error, "error: the reading process cannot be started: Too many open files (24)");
}

}  // namespace
