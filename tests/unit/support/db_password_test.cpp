// SPDX-License-Identifier: Apache-2.0

#include "support/db_password.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/system/world.h"
#include "tests/unit/support/child_run.h"
#include "tests/unit/support/database.h"
#include "tests/unit/support/process_state.h"

namespace {

using testing_support::open_descriptors;
using testing_support::PasswordFile;
using tolva::db::AdminPassword;

using DbPassword = World;

std::string password_in(const std::string& content) {
    const PasswordFile file(content);
    std::array<char, 100> reason{};
    AdminPassword password;
    return password.read(reason.data(), reason.size()) ? password.text() : reason.data();
}

TEST_F(DbPassword, IsTheFirstLine) {
    EXPECT_EQ(password_in("secret\nsecond line\n"), "secret");
    EXPECT_EQ(password_in("secret"), "secret");
    EXPECT_EQ(password_in("secret \r\n"), "secret \r");
    EXPECT_EQ(password_in("\nsecond line\n"), "");
    EXPECT_EQ(password_in(std::string("secret\0rest\n", 12)), "secret");
}

TEST_F(DbPassword, HasAtMost99Characters) {
    const std::string most(99, 'p');
    EXPECT_EQ(password_in(most + "\n"), most);
    EXPECT_EQ(password_in(most + "more\n"), most);
}

TEST_F(DbPassword, AnEmptyFileIsNoErrorOfTheSystem) {
    const PasswordFile file("");
    const long before = open_descriptors();
    std::array<char, 100> reason{};
    AdminPassword password;
    errno = EIO;
    EXPECT_FALSE(password.read(reason.data(), reason.size()));
    EXPECT_EQ(errno, 0);
    EXPECT_STREQ(reason.data(), "Unable to read admin password file: Success");
    EXPECT_EQ(open_descriptors(), before);
}

// A password of which this class keeps no legible copy, in the password file.
class SecretFile {
  public:
    SecretFile() {
        std::array<char, kLength> letters{};
        static_cast<void>(!getrandom(letters.data(), letters.size(), 0));
        std::transform(letters.begin(), letters.end(), letters.begin(),
                       [](char c) { return static_cast<char>('a' + (c & 0xf)); });
        const int file = open("/etc/tva/.tva.shadow", O_WRONLY | O_TRUNC);
        static_cast<void>(!write(file, letters.data(), letters.size()));
        close(file);
        std::transform(letters.begin(), letters.end(), hidden_.begin(), hide);
        explicit_bzero(letters.data(), letters.size());
    }

    // How often it stands in the memory that the process can write to.
    int copies_in_memory() const {
        int copies = 0;
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);) {
            void* begin = nullptr;
            void* end = nullptr;
            std::array<char, 5> access{};
            if (std::sscanf(line.c_str(), "%p-%p %4s", &begin, &end, access.data()) == 3 &&
                std::string(access.data()) == "rw-p") {
                copies += copies_in(static_cast<const char*>(begin), static_cast<const char*>(end));
            }
        }
        return copies;
    }

  private:
    static constexpr std::size_t kLength = 32;

    static char hide(char c) { return static_cast<char>(c ^ '\x55'); }

    int copies_in(const char* begin, const char* end) const {
        const auto is_hidden = [](char seen, char hidden) { return hide(seen) == hidden; };
        const auto find = [&](const char* from) {
            return std::search(from, end, hidden_.begin(), hidden_.end(), is_hidden);
        };
        int copies = 0;
        for (const char* at = find(begin); at != end; at = find(at + 1)) {
            ++copies;
        }
        return copies;
    }

    std::array<char, kLength> hidden_{};
};

TEST_F(DbPassword, IsInMemoryOnceAndThenWiped) {
    if (kSanitized) {
        GTEST_SKIP() << "the address sanitizer maps too much memory to be searched";
    }
    const ChildRun run = run_in_child([] {
        const SecretFile secret;
        {
            AdminPassword password;
            note("read:", password.read(nullptr, 0));
            note("copies:", secret.copies_in_memory());
        }
        note("copies:", secret.copies_in_memory());
        _exit(0);
    });
    EXPECT_EQ(run.noted, "read: true\ncopies: 1\ncopies: 0\n");
}

}  // namespace
