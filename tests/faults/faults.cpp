#include "tests/faults/faults.h"

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gmock/gmock.h>

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInjector = "/world/bin/inject";
constexpr const char* kFailingAllocations = "/world/bin/failing_allocations.so";
constexpr const char* kMailNames = "/var/qmail/boxes";
constexpr const char* kMailbox = "/var/qmail/boxes/example.com/user";
constexpr const char* kRepository = "/var/qmail/boxes/example.com/user/@attachments";

bool every_fault_is_tried = false;
Figures all_figures;

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

// The reply in KOI8-R as it is sent where there is no converter for it: in UTF-8.
std::string in_utf8(std::string reply) {
    const std::string charset = "charset=\"koi8-r\"";
    reply.replace(reply.find(charset), charset.size(), "charset=\"UTF-8\"");
    const std::string text = "\xF3\xD0\xC1\xD3\xC9\xC2\xCF.";
    return reply.replace(reply.find(text), text.size(), "Спасибо.");
}

// Those that outlive the program have become children of this process. False when they go on.
bool mail_programs_end() {
    for (const auto begin = Clock::now(); Clock::now() - begin < std::chrono::seconds(20);) {
        const pid_t ended = waitpid(-1, nullptr, WNOHANG);
        if (ended < 0) {
            return true;
        }
        if (ended == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    return false;
}

std::string path_of(const char* name, int number) {
    return std::string(kRepository) + "/" + name + std::to_string(number) + ".txt";
}

}  // namespace

// What there is to see of a run, and what is wrong with it.
struct Faults::Run {
    Outcome outcome;
    std::vector<std::string> complaints;
    bool stalled = false;
    bool left_files = false;
    bool silent = false;
};

void Faults::install(const std::string& injector, const std::string& failing_allocations,
                     bool every_fault) {
    fs::copy_file(injector, kInjector, fs::copy_options::overwrite_existing);
    fs::copy_file(failing_allocations, kFailingAllocations, fs::copy_options::overwrite_existing);
    every_fault_is_tried = every_fault;
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
}

const Figures& Faults::figures() {
    return all_figures;
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
        add_forward(id, "copy" + std::to_string(id) + "@example.net");
        add_attachment(id, "here" + std::to_string(id) + ".txt");
        add_attachment(id, "gone" + std::to_string(id) + ".txt");
        write_file(path_of("here", id), "File " + std::to_string(id) + "\n");
    }
    add_forward(1, "further@example.net");
    if (nobody_exists()) {
        for (const char* path : {kMailbox, kRepository}) {
            ASSERT_EQ(chown(path, kNobody, kNobody), 0);
        }
    }
    sql("set global general_log = off");

    expected_ = rehearse(plain_start()).mails;
    ASSERT_FALSE(HasFailure());
    with_something_absent_ = {expected_};
    with_something_absent_[0][5].message = in_utf8(expected_[5].message);
    for (const std::string& file :
         {std::string("/var/qmail/control/databytes"), path_of("here", 1), path_of("here", 2)}) {
        fs::rename(file, file + ".away");
        with_something_absent_.push_back(rehearse(plain_start()).mails);
        fs::rename(file + ".away", file);
    }
}

void Faults::TearDown() {
    sql("set global general_log = on");
}

void Faults::restore_counts() {
    sql("delete from resp_freq");
    sql("insert into resp_freq (rn_id, email, num) values (1, 'sender@example.org', 1),"
        " (3, 'other@example.org', 1)");
}

Outcome Faults::rehearse(const Invocation& invocation) {
    restore_counts();
    Outcome outcome = run(invocation);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.mails.size(), 7U);
    return outcome;
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

Invocation Faults::failing_allocation(const std::string& which, const std::string& count) {
    Invocation invocation = plain_start();
    invocation.environment["LD_PRELOAD"] = kFailingAllocations;
    invocation.environment["FAILING_ALLOCATION"] = which;
    if (!count.empty()) {
        invocation.environment["ALLOCATION_COUNT"] = "/world/" + count;
    }
    return invocation;
}

Faults::Run Faults::run_once(const Invocation& invocation,
                             const std::function<void(const Program&)>& meanwhile, int seconds) {
    forget_mails();
    Run run;
    const std::vector<std::string> before = temporary_files();
    const auto begin = Clock::now();
    auto program = start(invocation);
    if (meanwhile) {
        meanwhile(*program);
    }
    try {
        Finished finished = program->wait(seconds);
        run.outcome.out = std::move(finished.out);
        run.outcome.err = std::move(finished.err);
        run.outcome.usage = finished.usage;
        if (finished.status != 0) {
            run.complaints.push_back("status " + std::to_string(finished.status));
        }
    } catch (const std::runtime_error& error) {
        run.complaints.emplace_back(error.what());
        run.stalled = true;
        program.reset();  // which kills it
    }
    run.stalled |= Clock::now() - begin > std::chrono::seconds(seconds);
    if (run.stalled) {
        run.complaints.emplace_back("it took too long");
    }
    if (!mail_programs_end()) {
        run.complaints.emplace_back("a mail program does not end");
    }
    const std::vector<std::string> left = temporary_files();
    run.left_files = left != before;
    run.outcome.mails = captured_mails();
    return run;
}

void Faults::count(const std::string& name, const Run& run) {
    ++all_figures.tried;
    all_figures.held += run.complaints.empty() ? 1 : 0;
    all_figures.stalls += run.stalled ? 1 : 0;
    all_figures.files_left += run.left_files ? 1 : 0;
    all_figures.silent += run.silent ? 1 : 0;
    if (!run.complaints.empty()) {
        ADD_FAILURE() << name << ": " << testing::PrintToString(run.complaints)
                      << "\nstandard error: " << run.outcome.err;
    }
}

void Faults::endure(const Fault& fault) {
    restore_counts();
    Run run = run_once(fault.invocation, fault.meanwhile, kMostSeconds);
    if (run.left_files) {
        if (fault.can_remove_files) {
            run.complaints.push_back("files in /tmp: " + testing::PrintToString(temporary_files()));
        }
        run.left_files = fault.can_remove_files;
        for (const std::string& name : temporary_files()) {
            fs::remove_all("/tmp/" + name);
        }
    }
    if (fault.mails_are_stored) {
        hold_against_expected(fault, run);
    }
    count(fault.name, run);
}

Outcome Faults::outlive(const std::string& name, const Invocation& invocation, int seconds) {
    Run run = run_once(invocation, {}, seconds);
    if (run.left_files) {
        run.complaints.push_back("files in /tmp: " + testing::PrintToString(temporary_files()));
    }
    count(name, run);
    return std::move(run.outcome);
}

bool Faults::is_whole(std::size_t number, const Submission& mail) const {
    const auto same = [&](const Submission& other) {
        return mail.arguments == other.arguments && mail.message == other.message;
    };
    return same(expected_[number]) ||
           std::any_of(with_something_absent_.begin(), with_something_absent_.end(),
                       [&](const auto& mails) { return same(mails[number]); });
}

void Faults::hold_against_expected(const Fault& fault, Run& run) const {
    std::vector<std::string> missing;
    std::vector<Submission> left = run.outcome.mails;
    for (std::size_t number = 0; number < expected_.size(); ++number) {
        const auto found = std::find_if(left.begin(), left.end(), [&](const Submission& mail) {
            return is_whole(number, mail);
        });
        if (found == left.end()) {
            missing.push_back("mail " + std::to_string(number + 1));
        } else {
            left.erase(found);
        }
    }
    for (const Submission& mail : left) {
        for (std::size_t number = 0; number < expected_.size(); ++number) {
            if (is_whole(number, mail)) {
                run.complaints.push_back("handed over twice: mail " + std::to_string(number + 1));
            }
        }
    }
    if (missing.empty() || !run.outcome.err.empty() || !fault.can_speak) {
        return;
    }
    run.silent = true;
    run.complaints.push_back("missing or cut without a word: " + testing::PrintToString(missing));
    for (const Submission& mail : left) {
        run.complaints.push_back("in place of it: " + testing::PrintToString(mail.arguments) +
                                 "\n" + mail.message.substr(0, 1500));
    }
}
