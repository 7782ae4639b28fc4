// SPDX-License-Identifier: Apache-2.0

#include "tests/faults/full_run.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMails = 7;

constexpr const char* kMailNames = "/var/qmail/boxes";
constexpr const char* kMailbox = "/var/qmail/boxes/example.com/user";
constexpr const char* kRepository = "/var/qmail/boxes/example.com/user/@attachments";

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

std::string path_of(const char* name, int number) {
    return std::string(kRepository) + "/" + name + std::to_string(number) + ".txt";
}

}  // namespace

void FullRun::SetUp() {
    Faults::SetUp();
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
    expected_ = {rehearse(plain_start()).mails};
    ASSERT_FALSE(HasFailure());
    for (const std::string& file :
         {std::string("/var/qmail/control/databytes"), path_of("here", 1), path_of("here", 2)}) {
        fs::rename(file, file + ".away");
        expected_.push_back(rehearse(plain_start()).mails);
        fs::rename(file + ".away", file);
    }
    // Where calls of a kind go on failing, no charset can be loaded either.
    for (const std::vector<Submission>& mails : std::vector(expected_)) {
        expected_.push_back(mails);
        expected_.back()[5].message = in_utf8(mails[5].message);
    }
}

void FullRun::restore_counts() {
    sql("delete from resp_freq");
    sql("insert into resp_freq (rn_id, email, num) values (1, 'sender@example.org', 1),"
        " (3, 'other@example.org', 1)");
}

Outcome FullRun::rehearse(const Invocation& invocation) {
    restore_counts();
    Outcome outcome = run(invocation);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.mails.size(), kMails);
    return outcome;
}

Invocation FullRun::plain_start() {
    return {.message = message()};
}

void FullRun::endure(const Fault& fault) {
    restore_counts();
    Run run = run_with_fault(fault.invocation, fault.meanwhile, kMostSeconds);
    if (run.left_files && !fault.can_remove_files) {
        run.left_files = false;
        std::erase_if(run.complaints, [](const std::string& complaint) {
            return complaint.starts_with("files in /tmp");
        });
    }
    if (fault.mails_are_stored) {
        hold_against_expected(fault, run);
    }
    count(fault.name, run);
}

bool FullRun::is_whole(std::size_t number, const Submission& mail) const {
    return std::any_of(expected_.begin(), expected_.end(), [&](const auto& mails) {
        return mail.arguments == mails[number].arguments && mail.message == mails[number].message;
    });
}

void FullRun::hold_against_expected(const Fault& fault, Run& run) const {
    std::vector<std::string> missing;
    std::vector<Submission> left = run.outcome.mails;
    for (std::size_t number = 0; number < kMails; ++number) {
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
        for (std::size_t number = 0; number < kMails; ++number) {
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
