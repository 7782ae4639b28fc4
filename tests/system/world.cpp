// SPDX-License-Identifier: Apache-2.0

#include "tests/system/world.h"

#include <sys/mount.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "tests/system/mail_program.h"

namespace fs = std::filesystem;

const char* const kFirstBoundary = "--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX";
const char* const kSecondBoundary = "--------=_rJmOWFrxsjyBldbEFSArCBynEcdyG";

const std::string kRowFailure = "This row is spoilt";

namespace {

constexpr const char* kSendmail = "/usr/sbin/sendmail";
constexpr const char* kProgram = "/world/bin/autoresponder";
constexpr const char* kSetUserIdProgram = "/world/bin/set-user-id/autoresponder";
constexpr const char* kControlProgram = "/world/bin/autoresponderctl";
constexpr const char* kCapture = "/world/bin/capture";
constexpr const char* kPasswordFile = "/etc/tva/.tva.shadow";
constexpr const char* kMailboxRoot = "/var/qmail/mailnames";

std::string read_file(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_whole(const fs::path& path, std::string_view bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

void empty_directory(const fs::path& directory) {
    fs::create_directories(directory);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        fs::remove_all(entry.path());
    }
}

const std::string& password() {
    static const std::string first = read_file(kPasswordFile);
    return first;
}

void read_facts(const fs::path& path, Submission& mail) {
    std::ifstream facts(path);
    std::string value;
    for (std::string name; facts >> name && std::getline(facts >> std::ws, value);) {
        if (name == "descriptor") {
            mail.descriptors.push_back(std::stoi(value));
        } else if (name == "input_name") {
            mail.input_name = value;
        } else if (name == "input_mode") {
            mail.input_mode = static_cast<unsigned>(std::stoul(value));
        } else if (name == "ignored") {
            mail.ignored_signals = value;
        } else if (name == "blocked") {
            mail.blocked_signals = value;
        } else if (name == "size") {
            mail.size = std::stoull(value);
        } else if (name == "real_user") {
            mail.real_user = static_cast<unsigned>(std::stoul(value));
        } else if (name == "effective_user") {
            mail.effective_user = static_cast<unsigned>(std::stoul(value));
        } else if (name == "real_group") {
            mail.real_group = static_cast<unsigned>(std::stoul(value));
        } else if (name == "effective_group") {
            mail.effective_group = static_cast<unsigned>(std::stoul(value));
        } else if (name == "group") {
            mail.groups.push_back(static_cast<unsigned>(std::stoul(value)));
        }
    }
    std::sort(mail.descriptors.begin(), mail.descriptors.end());
}

// The strings of a file, each ended by a zero byte.
std::vector<std::string> read_strings(const fs::path& path) {
    std::istringstream bytes(read_file(path));
    std::vector<std::string> strings;
    for (std::string string; std::getline(bytes, string, '\0');) {
        strings.push_back(string);
    }
    return strings;
}

}  // namespace

void World::install(const std::string& program, const std::string& control_program,
                    const std::string& mail_program) {
    fs::create_directories("/world/bin");
    // Copies, so that a test may cover /tmp although the build directory lies below it.
    fs::copy_file(program, kProgram, fs::copy_options::overwrite_existing);
    fs::copy_file(control_program, kControlProgram, fs::copy_options::overwrite_existing);
    fs::copy_file(mail_program, kCapture, fs::copy_options::overwrite_existing);
    fs::create_directories(fs::path(kSetUserIdProgram).parent_path());
    fs::copy_file(program, kSetUserIdProgram, fs::copy_options::overwrite_existing);
    fs::permissions(kSetUserIdProgram, fs::perms(04755));
    password();
}

Database& World::database() {
    static Database instance;
    return instance;
}

void World::SetUp() {
    database().reset();
    sql("insert into clients set id=1, login='owner', pname='The Owner', "
        "email='owner@clients.example'");
    sql("insert into domains set id=1, name='example.com', cl_id=1");
    sql("insert into mail set id=1, mail_name='user', dom_id=1");
    empty_directory("/etc/tva");
    write_whole(kPasswordFile, password());
    fs::permissions(kPasswordFile, fs::perms::owner_read | fs::perms::owner_write);
    empty_directory("/var/qmail");
    empty_directory(kMailDirectory);
    fs::remove(kBehaviourFile);
    fs::remove_all(kSendmail);
    fs::copy_file(kCapture, kSendmail);
}

std::unique_ptr<Program> World::start(const Invocation& invocation) {
    if (!invocation.path.empty()) {
        return std::make_unique<Program>(invocation.path, invocation);
    }
    return std::make_unique<Program>(invocation.set_user_id ? kSetUserIdProgram : kProgram,
                                     invocation);
}

Outcome World::settle(Program& program, const std::vector<std::string>& before) {
    const Finished finished = program.wait();
    EXPECT_TRUE(WIFEXITED(finished.status)) << "ended by signal " << WTERMSIG(finished.status);
    EXPECT_EQ(WEXITSTATUS(finished.status), 0) << finished.err;
    EXPECT_EQ(temporary_files(), before) << "files were left in /tmp";
    return {finished.out, finished.err, captured_mails(), finished.usage};
}

Outcome World::run(const Invocation& invocation) {
    forget_mails();
    const std::vector<std::string> before = temporary_files();
    return settle(*start(invocation), before);
}

Finished World::control(const Invocation& invocation) {
    forget_mails();
    const std::vector<std::string> before = temporary_files();
    Finished finished = Program(kControlProgram, invocation).wait();
    EXPECT_TRUE(WIFEXITED(finished.status)) << "ended by signal " << WTERMSIG(finished.status);
    EXPECT_EQ(temporary_files(), before) << "files were left in /tmp";
    EXPECT_TRUE(captured_mails().empty()) << "a mail program was started";
    return finished;
}

Outcome World::answer(const std::string& message, const std::string& recipient) {
    return run({.message = message, .recipient = recipient});
}

std::vector<Submission> World::captured_mails() {
    std::vector<Submission> mails;
    for (int number = 1;; ++number) {
        const std::string base = std::string(kMailDirectory) + "/" + std::to_string(number);
        if (!fs::exists(base + ".arguments")) {
            return mails;
        }
        Submission mail;
        mail.arguments = read_strings(base + ".arguments");
        mail.environment = read_strings(base + ".environment");
        mail.message = read_file(base + ".message");
        read_facts(base + ".facts", mail);
        mails.push_back(std::move(mail));
    }
}

void World::forget_mails() {
    empty_directory(kMailDirectory);
}

const char* World::program_path() {
    return kProgram;
}

std::vector<Row> World::sql(const std::string& statement) {
    return database().sql(statement);
}

std::vector<std::string> World::statements() {
    return database().statements();
}

void World::add_responder(int id, const std::string& columns) {
    const std::string number = std::to_string(id);
    sql("insert into mail_resp set mn_id=1, resp_on='true', id=" + number);
    sql("update mail_resp set " + columns + " where id=" + number);
}

void World::add_attachment(int responder, const std::string& name) {
    sql("insert into resp_attach set rn_id=" + std::to_string(responder) +
        ", filename=" + database().quoted(name));
}

void World::add_forward(int responder, const std::string& address) {
    sql("insert into resp_forward set rn_id=" + std::to_string(responder) +
        ", address=" + database().quoted(address));
}

void World::lose_table(const std::string& name) {
    sql("rename table " + name + " to " + name + "_moved");
}

void World::spoil_rows(const std::string& table, int sound) {
    lose_table(table);
    // Variables of a session count what each connection reads.
    sql("create or replace function is_sound(sound int) returns int not deterministic reads sql "
        "data "
        "begin set @read = ifnull(@read, 0) + 1; if @read > sound then signal sqlstate '45000' "
        "set message_text = '" +
        kRowFailure + "'; end if; return 1; end");
    sql("create view " + table + " as select * from " + table + "_moved where is_sound(" +
        std::to_string(sound) + ")");
}

void World::write_file(const std::string& path, std::string_view bytes) {
    write_whole(path, bytes);
}

std::string World::attachment_path(const std::string& name) {
    return std::string(kMailboxRoot) + "/example.com/user/@attachments/" + name;
}

void World::write_attachment(const std::string& name, std::string_view bytes) {
    write_whole(attachment_path(name), bytes);
}

std::string World::right_password() {
    return password().substr(0, password().find('\n'));
}

void World::set_databytes(std::string_view content) {
    write_whole("/var/qmail/control/databytes", content);
}

void World::mail_program_behaves(const std::string& how) {
    write_whole(kBehaviourFile, how);
}

void World::replace_mail_program(const std::string& script) {
    fs::remove(kSendmail);
    write_whole(kSendmail, "#!/bin/bash\nCAPTURE=" + std::string(kCapture) + "\n" + script);
    fs::permissions(kSendmail, fs::perms::owner_all);
}

void World::remove_mail_program() {
    fs::remove(kSendmail);
}

std::vector<std::string> World::temporary_files() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator("/tmp")) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> World::lines_of(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool nobody_exists() {
    std::ifstream map("/proc/self/uid_map");
    std::uint64_t first = 0;
    std::uint64_t outside = 0;
    std::uint64_t count = 0;
    while (map >> first >> outside >> count) {
        if (first <= kNobody && kNobody < first + count) {
            return true;
        }
    }
    return false;
}

SmallTmp::SmallTmp(const std::string& options) {
    if (mount("small", "/tmp", "tmpfs", 0, options.c_str()) != 0) {
        throw std::runtime_error("cannot mount over /tmp");
    }
}

SmallTmp::~SmallTmp() {
    umount2("/tmp", MNT_DETACH);
}

NoDevices::NoDevices() {
    if (mount("none", "/dev", "tmpfs", 0, "mode=755") != 0) {
        throw std::runtime_error("cannot mount over /dev");
    }
}

NoDevices::~NoDevices() {
    umount2("/dev", MNT_DETACH);
}

std::string message_with(std::initializer_list<std::string_view> lines, std::string_view body) {
    std::string message = "From: sender@example.org\n";
    for (const std::string_view line : lines) {
        message.append(line).append("\n");
    }
    return message.append("\n").append(body);
}

std::string plain_message() {
    return message_with({"To: user@example.com", "Subject: Hello"});
}

std::string plain_reply(const std::string& subject, const std::string& text) {
    return "From: user@example.com\n"
           "To: sender@example.org\n"
           "MIME-Version: 1.0\n"
           "Subject: " +
           subject +
           "\n"
           "Content-Type: text/plain; charset=\"UTF-8\"\n"
           "Content-Transfer-Encoding: 8bit\n"
           "Content-Disposition: inline\n"
           "\n" +
           text + "\n\n\n";
}

std::vector<std::string> reply_arguments() {
    return {"/usr/sbin/sendmail", "-f", "user@example.com", "sender@example.org"};
}
