// SPDX-License-Identifier: Apache-2.0

#pragma once

// The fixture of the tests that say which files are attached: a responder of user@example.com, and
// local users who have a hand in what its repository contains.

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/system/local_users.h"
#include "tests/system/mail_reader.h"
#include "tests/system/world.h"

constexpr const char* kMailNames = "/var/qmail/mailnames";
constexpr const char* kDomain = "/var/qmail/mailnames/example.com";
constexpr const char* kBox = "/var/qmail/mailnames/example.com/user";
constexpr const char* kFiles = "/var/qmail/mailnames/example.com/user/@attachments";
constexpr const char* kPeople = "/var/qmail/people";
constexpr const char* kDenied = "Permission denied (13)";

class Attaching : public World {
  protected:
    void SetUp() override {
        World::SetUp();
        if (!add_local_users()) {
            GTEST_SKIP() << "no users besides root";
        }
        add_responder(1);
        std::filesystem::create_directories(kFiles);
        std::filesystem::create_directories(kPeople);
        for (const char* path : {kMailNames, kDomain, kBox, kFiles, kPeople}) {
            give(path, 0, 0, 0755);
        }
    }

    // Below kFiles.
    static std::string in_files(const std::string& name) {
        return std::string(kFiles) + "/" + name;
    }

    // A file in a directory of the user's own, which the user alone may read unless the mode says
    // otherwise.
    static std::string private_file(const LocalUser& user, const std::string& text,
                                    mode_t mode = 0600) {
        const std::string home = std::string(kPeople) + "/" + user.name;
        std::filesystem::create_directories(home);
        give(home, user, 0755);
        write_text(home + "/private", text);
        give(home + "/private", user, mode);
        return home + "/private";
    }

    static void link_as(const LocalUser& user, const std::string& target, const std::string& name) {
        run_as(user, [&] { std::filesystem::create_symlink(target, in_files(name)); });
    }

    // What became of the only attachment of a reply.
    struct Attached {
        std::string bytes = {};
        std::string report = {};
        bool has_notice = false;  // that the file is missing
    };

    Attached attached(const std::string& name, Invocation invocation = {}) {
        sql("delete from resp_attach");
        sql("delete from resp_freq");
        add_attachment(1, name);
        invocation.message = plain_message();
        const Outcome outcome = run(invocation);
        EXPECT_TRUE(soon([] { return !is_running(); })) << "a process was left";
        Attached file{.report = outcome.err, .has_notice = outcome.mails.size() == 2};
        if (outcome.mails.empty()) {
            file.bytes = "(no reply)";
            return file;
        }
        const ReadMail mail = read_mail(outcome.mails.back().message);
        file.bytes = mail.attachments.size() == 1 ? mail.attachments[0].bytes : "(no attachment)";
        return file;
    }

    void expect_attached(const std::string& name, const std::string& text) {
        const Attached file = attached(name);
        EXPECT_EQ(file.bytes, text);
        EXPECT_EQ(file.report, "");
        EXPECT_FALSE(file.has_notice);
    }

    void expect_unreadable(const std::string& name, const std::string& reason = kDenied) {
        const Attached file = attached(name);
        EXPECT_EQ(file.bytes, "");
        EXPECT_EQ(file.report, unreadable(name, reason));
        EXPECT_FALSE(file.has_notice);
    }

    void expect_missing(const std::string& name) {
        const Attached file = attached(name);
        EXPECT_EQ(file.bytes, "(no attachment)");
        EXPECT_EQ(file.report, "");
        EXPECT_TRUE(file.has_notice);
    }

    static std::string unreadable(const std::string& name, const std::string& reason) {
        return "autoresponder: Failed to read attachement file '" + in_files(name) +
               "': " + reason + "\n";
    }

    // Whether a process of the program is there, zombies aside.
    static bool is_running() { return !processes().empty(); }

    static std::vector<int> processes() {
        std::vector<int> found;
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::string line;
            std::getline(std::ifstream(entry.path() / "stat"), line);
            const std::size_t name = line.find("(autoresponder) ");
            if (name != std::string::npos && line[name + 16] != 'Z') {
                found.push_back(std::stoi(entry.path().filename()));
            }
        }
        return found;
    }
};
