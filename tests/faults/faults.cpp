#include "tests/faults/faults.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kInjector = "/world/bin/inject";
constexpr const char* kFailingAllocations = "/world/bin/failing_allocations.so";
constexpr const char* kMailNames = "/var/qmail/boxes";
constexpr const char* kRepository = "/var/qmail/boxes/example.com/user/@attachments";

bool every_fault_is_tried = false;

// "цена" and "Берлин" in KOI8-R, in the encodings of mail.
std::string message() {
    return "From: =?koi8-r?B?8MXU0g==?= <sender@example.org>\n"
           "To: user@example.com\n"
           "Subject: =?koi8-r?B?w8XOwQ==?= =?iso-8859-5?Q?=C6=D5=DD=D0?= please\n"
           "MIME-Version: 1.0\n"
           "Content-Type: multipart/mixed; boundary=b\n"
           "\n"
           "--b\n"
           "Content-Type: text/plain; charset=koi8-r\n"
           "Content-Transfer-Encoding: quoted-printable\n"
           "\n"
           "=E2=C5=D2=CC=C9=CE\n"
           "--b\n"
           "Content-Type: application/octet-stream\n"
           "\n" +
           std::string(20000, 'x') + "\n--b--\n";
}

// The reply in KOI8-R as it is sent where there is no memory for the conversion: in UTF-8.
std::string in_utf8(std::string reply) {
    const std::string charset = "charset=\"koi8-r\"";
    reply.replace(reply.find(charset), charset.size(), "charset=\"UTF-8\"");
    const std::string text = "\xF3\xD0\xC1\xD3\xC9\xC2\xCF.";
    return reply.replace(reply.find(text), text.size(), "Спасибо.");
}

void wait_for_mail_programs() {
    // Those that outlive their run have become children of this process.
    while (waitpid(-1, nullptr, 0) > 0) {
    }
}

// How often each value occurs.
template <typename Range>
std::map<typename Range::value_type, int> occurrences(const Range& range) {
    std::map<typename Range::value_type, int> counts;
    for (const auto& value : range) {
        ++counts[value];
    }
    return counts;
}

}  // namespace

void Faults::install(const std::string& injector, const std::string& failing_allocations,
                     bool every_fault) {
    fs::copy_file(injector, kInjector, fs::copy_options::overwrite_existing);
    fs::copy_file(failing_allocations, kFailingAllocations, fs::copy_options::overwrite_existing);
    every_fault_is_tried = every_fault;
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

bool Faults::every_fault() {
    return every_fault_is_tried;
}

std::vector<unsigned long> Faults::numbers(unsigned long count, unsigned long sample) {
    const unsigned long tries = every_fault_is_tried ? count : std::min(count, sample);
    std::vector<unsigned long> all;
    for (unsigned long i = 0; i < tries; ++i) {
        all.push_back(1 + i * count / tries);
    }
    return all;
}

void Faults::SetUp() {
    World::SetUp();
    write_file("/etc/tva/tva.conf", std::string("TOLVA_MAILNAMES_D ") + kMailNames + "\n");
    set_databytes("3000");
    add_responder(1,
                  "text='Mind the price.', key_where='subj', keystr='цена', ans_freq='100',"
                  " subject='About <request_subject>', reply_to='desk@example.com'");
    add_responder(2,
                  "text='Спасибо.', key_where='body', keystr='Берлин', charset='koi8-r',"
                  " ans_freq='100'");
    add_responder(3, "text=repeat('Too long. ', 1000), mem_limit='1', ans_freq='100'");
    for (int id = 1; id <= 2; ++id) {
        const std::string number = std::to_string(id);
        add_forward(id, "copy" + number + "@example.net");
        add_attachment(id, "here" + number + ".txt");
        add_attachment(id, "gone" + number + ".txt");
        write_file(std::string(kRepository) + "/here" + number + ".txt", "File " + number + "\n");
    }
    add_forward(1, "further@example.net");
    if (nobody_exists()) {
        for (const char* path : {"/var/qmail/boxes/example.com/user", kRepository}) {
            ASSERT_EQ(chown(path, kNobody, kNobody), 0);
        }
    }
    sql("set global general_log = off");
    restore_counts();
    const Outcome whole = run(plain_start());
    ASSERT_EQ(whole.err, "");
    ASSERT_EQ(whole.mails.size(), 7U);
    expected_ = whole.mails;
}

void Faults::TearDown() {
    sql("set global general_log = on");
    std::printf("%d faults, %d survived, %d stalls, %d files left, %d mails cut without a word\n",
                tried_, survived_, stalled_, files_left_, silent_);
}

void Faults::restore_counts() {
    sql("delete from resp_freq");
    sql("insert into resp_freq (rn_id, email, num) values (1, 'sender@example.org', 1),"
        " (3, 'other@example.org', 1)");
}

Invocation Faults::plain_start() {
    return {.message = message()};
}

Invocation Faults::injected(const std::string& fault, const std::string& log) {
    Invocation invocation = plain_start();
    invocation.path = kInjector;
    invocation.environment["ASAN_OPTIONS"] = "detect_leaks=0";  // which needs ptrace(2) itself
    if (!log.empty()) {
        invocation.arguments = {"--log", "/world/" + log};
    }
    invocation.arguments.push_back(fault);
    invocation.arguments.emplace_back(program_path());
    return invocation;
}

Invocation Faults::failing_allocation(const std::string& which, const std::string& count_file) {
    Invocation invocation = plain_start();
    invocation.environment["LD_PRELOAD"] = kFailingAllocations;
    invocation.environment["FAILING_ALLOCATION"] = which;
    if (!count_file.empty()) {
        invocation.environment["ALLOCATION_COUNT"] = "/world/" + count_file;
    }
    return invocation;
}

std::string Faults::world_file(const std::string& name) {
    std::ifstream file("/world/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Faults::endure(const Fault& fault) {
    using Clock = std::chrono::steady_clock;
    restore_counts();
    forget_mails();
    const std::vector<std::string> before = temporary_files();
    const auto begin = Clock::now();
    const auto program = start(fault.invocation);
    if (fault.meanwhile) {
        fault.meanwhile(*program);
    }
    ++tried_;
    std::vector<std::string> complaints;
    Finished finished;
    try {
        finished = program->wait();
        wait_for_mail_programs();
    } catch (const std::runtime_error& error) {
        complaints.emplace_back(error.what());
    }
    if (Clock::now() - begin > std::chrono::seconds(kMostSeconds)) {
        ++stalled_;
        complaints.emplace_back("it took too long");
    }
    const std::vector<std::string> left = temporary_files();
    if (left != before) {
        ++files_left_;
        complaints.push_back("files in /tmp: " + testing::PrintToString(left));
        for (const std::string& name : left) {
            fs::remove("/tmp/" + name);
        }
    }
    const auto mails = captured_mails();
    for (std::string& complaint : complaints_about(fault, finished, mails)) {
        complaints.push_back(std::move(complaint));
    }
    if (complaints.empty()) {
        ++survived_;
    } else {
        ADD_FAILURE() << fault.name << ": " << testing::PrintToString(complaints)
                      << "\nstandard error: " << finished.err;
    }
    if (const char* log = std::getenv("FAULTS_LOG")) {
        std::ofstream out(log, std::ios::app);
        out << fault.name << "\t" << complaints.size() << "\t";
        for (const auto& mail : mails) {
            bool found = false;
            for (std::size_t i = 0; i < expected_.size(); ++i) {
                if (mail.message == expected_[i].message && mail.arguments == expected_[i].arguments) {
                    out << i; found = true;
                }
            }
            if (!found) out << "?";
        }
        out << "\t" << std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count() << "\t";
        std::string err = finished.err; std::replace(err.begin(), err.end(), '\n', '|');
        out << err << "\n";
    }
}

std::map<int, int> Faults::counted() {
    std::map<int, int> counts;
    for (const Row& row : sql("select rn_id, sum(num) from resp_freq"
                              " where email='sender@example.org' group by rn_id")) {
        counts[std::stoi(*row[0])] = std::stoi(*row[1]);
    }
    return counts;
}

std::vector<std::string> Faults::complaints_about(const Fault& fault, const Finished& finished,
                                                  const std::vector<Submission>& mails) {
    std::vector<std::string> complaints;
    if (finished.status != 0) {
        complaints.push_back("status " + std::to_string(finished.status));
    }
    const bool spoke = !finished.err.empty();
    bool all_whole = mails.size() == expected_.size();
    std::map<std::vector<std::string>, int> allowed;
    std::map<std::string, int> allowed_messages;
    for (const Submission& mail : expected_) {
        ++allowed[mail.arguments];
        ++allowed_messages[mail.message];
    }
    ++allowed_messages[in_utf8(expected_[5].message)];
    for (const Submission& mail : mails) {
        if (--allowed[mail.arguments] < 0) {
            complaints.push_back("too many mails to " + mail.arguments.back());
        }
        const auto found = allowed_messages.find(mail.message);
        if (found == allowed_messages.end()) {
            all_whole = false;
        } else if (--found->second < 0) {
            complaints.push_back("sent twice to " + mail.arguments.back());
        }
    }
    if (!all_whole && !spoke && fault.can_speak) {
        ++silent_;
        complaints.emplace_back("a mail is missing or cut without a word");
        for (const Submission& mail : mails) {
            if (!allowed_messages.contains(mail.message)) {
                complaints.push_back(mail.message);
            }
        }
    }
    return complaints;
}
