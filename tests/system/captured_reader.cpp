// SPDX-License-Identifier: Apache-2.0

#include "tests/system/captured_reader.h"

#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ranges>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/landlock.h>

#include "tests/system/mail_reader.h"

namespace {

namespace fs = std::filesystem;

using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kUsers = "/etc/passwd";
constexpr const char* kOwnUsers = "/etc/passwd.kept";

// Every byte of it encoded.
std::string encoded_word(std::string_view text) {
    std::string word = std::string("=?") + CapturedProcess::kCharset + "?Q?";
    for (const char c : text) {
        std::array<char, 4> encoded{};
        std::snprintf(encoded.data(), encoded.size(), "=%02X", static_cast<unsigned char>(c));
        word += encoded.data();
    }
    return word + "?=";
}

// The field body of the reply's subject, as it is sent.
std::string raw_subject(const std::string& mail) {
    constexpr std::string_view name = "\nSubject: ";
    const std::size_t begin = mail.find(name) + name.size();
    return mail.substr(begin, mail.find('\n', begin) - begin);
}

std::string link_target(const fs::path& link) {
    std::error_code error;
    return fs::read_symlink(link, error);
}

bool is_of_program(const fs::path& process) {
    std::ifstream file(process / "comm");
    std::string name;
    return std::getline(file, name) && name == "autoresponder";
}

// The processes of the program in this world; other worlds may be in sight.
std::vector<std::string> processes_left() {
    const std::string world = link_target("/proc/self/ns/mnt");
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; }) &&
            link_target(entry.path() / "ns/mnt") == world && is_of_program(entry.path())) {
            found.push_back(name);
        }
    }
    return found;
}

}  // namespace

bool kernel_has_landlock() {
    return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1;
}

bool kernel_has_filters() {
    return prctl(PR_GET_SECCOMP, 0, 0, 0, 0) != -1;
}

std::string status_of(pid_t process, const std::vector<std::string>& names) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string found;
    for (std::string line; std::getline(status, line);) {
        std::erase_if(line, [](unsigned char c) { return std::isspace(c) != 0; });
        if (std::ranges::any_of(
                names, [&line](const std::string& name) { return line.starts_with(name + ":"); })) {
            found += line + "\n";
        }
    }
    return found;
}

const char* const CapturedProcess::kModule = GCONV_DIRECTORY "/HOSTILE.so";

void CapturedProcess::SetUpTestSuite() {
    ASSERT_EQ(mount("hostile", GCONV_DIRECTORY, "tmpfs", 0, "mode=755"), 0);
    fs::copy_file(HOSTILE_CHARSET, kModule);
    // UTF-8 is the C library's own, and so are the others that these tests use.
    write_file(GCONV_DIRECTORY "/gconv-modules",
               "module X-HOSTILE// ISO-10646/UTF8/ HOSTILE 1\n"
               "module ISO-10646/UTF8/ X-HOSTILE// HOSTILE 1\n");
}

void CapturedProcess::TearDownTestSuite() {
    umount2(GCONV_DIRECTORY, MNT_DETACH);
}

void CapturedProcess::SetUp() {
    if (!nobody_exists()) {
        GTEST_SKIP() << "no user besides root";
    }
    World::SetUp();
    add_responder(1, "text='Gone fishing.', ans_freq=1000");
}

void CapturedProcess::TearDown() {
    if (fs::exists(fs::symlink_status(kOwnUsers))) {
        fs::rename(kOwnUsers, kUsers);
    }
    // One whose parent was ended by a signal ends soon after that.
    soon([] { return processes_left().empty(); });
    EXPECT_THAT(processes_left(), IsEmpty());
}

std::string CapturedProcess::message_for(std::string_view deeds) {
    return message_with({"To: user@example.com", "Subject: " + encoded_word(deeds)});
}

Invocation CapturedProcess::invocation_for(std::string_view deeds) {
    return {.message = message_for(deeds)};
}

std::string CapturedProcess::outcome_of(std::string_view deeds) {
    return outcome_of(invocation_for(deeds));
}

std::string CapturedProcess::outcome_of(const Invocation& invocation) {
    return subject_of(run(invocation));
}

std::string CapturedProcess::subject_of(const Outcome& outcome) {
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "");
    if (outcome.mails.size() != 1) {
        return "(" + std::to_string(outcome.mails.size()) + " mails)";
    }
    const Submission& mail = outcome.mails[0];
    EXPECT_EQ(mail.arguments, reply_arguments());
    EXPECT_EQ(mail.message, plain_reply(raw_subject(mail.message)));
    const std::string subject = read_mail(mail.message).subject;
    return subject.starts_with("Re: ") ? subject.substr(4) : "(not a reply) " + subject;
}

std::string CapturedProcess::outcomes_of(const std::vector<std::string>& deeds, Invocation how) {
    std::string all;
    for (const std::string& deed : deeds) {
        how.message = message_for(deed);
        all += deed + ": " + outcome_of(how) + "\n";
    }
    return all;
}

std::string CapturedProcess::unread(std::string_view reason) {
    return "autoresponder: The message could not be read: " + std::string(reason) + "\n";
}

void CapturedProcess::expect_unread(std::string_view deeds, std::string_view reason) {
    expect_unread(invocation_for(deeds), reason);
}

void CapturedProcess::expect_unread(const Invocation& invocation, std::string_view reason) {
    const std::size_t statements_before = statements().size();
    const Outcome outcome = run(invocation);
    EXPECT_EQ(outcome.err, unread(reason));
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.mails, IsEmpty());
    EXPECT_THAT(statements(), SizeIs(statements_before));
}

CapturedProcess::Held CapturedProcess::hold(Invocation how) {
    forget_mails();
    how.hold_input_open = true;
    const std::vector<std::string> before = temporary_files();
    Held held{.program = start(how), .copy = {}, .temporary_files_before = before};
    EXPECT_TRUE(soon([&] {
        for (const std::string& name : temporary_files()) {
            if (std::ranges::find(before, name) == before.end()) {
                held.copy = "/tmp/" + name;
            }
        }
        return !held.copy.empty();
    }));
    return held;
}

Outcome CapturedProcess::settle(const Held& held) {
    return World::settle(*held.program, held.temporary_files_before);
}

Finished CapturedProcess::end_of(const Held& held) {
    Finished finished = held.program->wait();
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.out, "");
    EXPECT_FALSE(fs::exists(held.copy));
    return finished;
}

std::string CapturedProcess::outcome_of(const Held& held, std::string_view deeds) {
    go_on(held, deeds);
    return subject_of(settle(held));
}

void CapturedProcess::go_on(const Held& held, std::string_view deeds) {
    held.program->add_input(message_for(deeds));
    held.program->end_input();
}

pid_t CapturedProcess::reader_of(const Program& program) {
    const std::string id = std::to_string(program.pid());
    pid_t reader = -1;
    EXPECT_TRUE(soon([&] {
        std::ifstream children("/proc/" + id + "/task/" + id + "/children");
        return static_cast<bool>(children >> reader);
    }));
    return reader;
}

pid_t CapturedProcess::waiting_reader_of(const Program& program, long call) {
    const pid_t reader = reader_of(program);
    EXPECT_TRUE(soon([&] {
        std::ifstream file("/proc/" + std::to_string(reader) + "/syscall");
        long number = -1;
        return file >> number && number == call;
    }));
    return reader;
}

void CapturedProcess::replace_users(const std::string& passwd) {
    if (!fs::exists(fs::symlink_status(kOwnUsers))) {
        fs::rename(kUsers, kOwnUsers);
    }
    write_file(kUsers, passwd);
}

std::string CapturedProcess::item(std::uint32_t kind, std::string_view bytes) {
    const std::array head = {kind, static_cast<std::uint32_t>(bytes.size())};
    return std::string(reinterpret_cast<const char*>(head.data()), sizeof head).append(bytes);
}

std::string CapturedProcess::number(std::uint64_t value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::string CapturedProcess::hexadecimal(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned char>(byte));
        text += digits.data();
    }
    return text;
}

std::string CapturedProcess::inverted(std::string bytes) {
    std::ranges::transform(bytes, bytes.begin(), [](char c) { return static_cast<char>(~c); });
    return bytes;
}
