// SPDX-License-Identifier: Apache-2.0

#include <arpa/inet.h>
#include <mysql.h>
#include <netdb.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "support/db.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/failing_calls.h"
#include "tests/unit/support/process_state.h"

// Each test has a process in which nothing of the client library has been called yet.

namespace {

std::string escape(const std::string& text) {
    std::string escaped(2 * text.size() + 1, '\0');
    escaped.resize(mysql_escape_string(escaped.data(), text.data(), text.size()));
    return escaped;
}

TEST(DbLibraryInit, LetsTextsBeEscapedWithoutAConnection) {
    const ChildRun run = run_in_child([] {
        db_library_init();
        db_library_init();
        note(escape("it's"));
    });
    EXPECT_EQ(run.noted, "it\\'s\n");
}

TEST(DbLibraryInit, ReadsNoConfigurationOfOpenssl) {
    std::string path = testing::TempDir() + "openssl-XXXXXX";
    close(mkstemp(path.data()));
    const ChildRun run = run_in_child([&path] {
        setenv("OPENSSL_CONF", path.c_str(), 1);
        const int watch = inotify_init1(IN_NONBLOCK);
        inotify_add_watch(watch, path.c_str(), IN_OPEN);
        db_library_init();
        std::array<char, 4096> event{};
        note(read(watch, event.data(), event.size()) > 0 ? "opened"
                                                         : testing_support::error_name());
    });
    unlink(path.c_str());
    EXPECT_EQ(run.noted, "EAGAIN\n");
}

TEST(DbLibraryInit, AsksNoNameService) {
    const ChildRun run = run_in_child([] {
        testing_support::forbid_system_call_with(SYS_socket, AF_UNIX);
        db_library_init();
        note("ready");
    });
    EXPECT_EQ(run.noted, "ready\n");
}

TEST(DbLibraryInit, LeavesServicesToTheirFile) {
    if (!std::filesystem::exists("/etc/services")) {
        GTEST_SKIP() << "this machine has no list of services";
    }
    const ChildRun run = run_in_child([] {
        db_library_init();
        const servent* smtp = getservbyname("smtp", "tcp");
        note(smtp != nullptr ? int{ntohs(static_cast<std::uint16_t>(smtp->s_port))} : -1);
    });
    EXPECT_EQ(run.noted, "25\n");
}

}  // namespace
