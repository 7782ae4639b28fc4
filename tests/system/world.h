// SPDX-License-Identifier: Apache-2.0

#pragma once

// The fixture of the system tests: the private world, cleaned before each test, with a small panel.

#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/system/database.h"  // IWYU pragma: export
#include "tests/system/program.h"   // IWYU pragma: export

// One start of the mail program.
struct Submission {
    std::vector<std::string> arguments;  // all of them, the program's name included
    std::string message;                 // its standard input
    std::uint64_t size = 0;              // of its standard input, also where only that was kept
    std::string input_name;        // of the file at its standard input, "pipe:[...]" for a pipe
    unsigned input_mode = 0;       // st_mode of the same
    std::vector<int> descriptors;  // open ones
    std::string ignored_signals;   // sets of signals, in hexadecimal
    std::string blocked_signals;
    std::vector<std::string> environment;
    unsigned real_user = 0;
    unsigned effective_user = 0;
    unsigned real_group = 0;
    unsigned effective_group = 0;
    std::vector<unsigned> groups;  // supplementary ones
};

struct Outcome {
    std::string out;
    std::string err;
    std::vector<Submission> mails;  // in the order of the mail programs' starts
    rusage usage;
};

// Before each test: the tables hold the client 1 (login "owner", name "The Owner", address
// "owner@clients.example"), the domain 1 (example.com, of client 1) and the mailbox 1
// (user@example.com) and nothing else; /etc/tva holds the right password and no configuration;
// /var/qmail and the mailboxes' root are empty; /usr/sbin/sendmail is the capturing mail program.
class World : public testing::Test {
  public:
    // To be called once, before the first test: the programs under test and the mail program.
    static void install(const std::string& program, const std::string& control_program,
                        const std::string& mail_program);

  protected:
    void SetUp() override;

    // Runs the program. Every run must end with status 0 and leave /tmp as it was: run() fails
    // the test otherwise.
    Outcome run(const Invocation& invocation);
    // The same with no more than a message and the recipient.
    Outcome answer(const std::string& message, const std::string& recipient = "user@example.com");
    // Runs autoresponderctl. It must leave /tmp as it was and start no mail program, or the test
    // fails.
    static Finished control(const Invocation& invocation);
    // For a program started with start(): what run() does after the end of the program.
    static Outcome settle(Program& program, const std::vector<std::string>& temporary_files);
    static std::unique_ptr<Program> start(const Invocation& invocation);

    // What the mail programs have been given since the last run(), SetUp() or forget_mails().
    static std::vector<Submission> captured_mails();
    static void forget_mails();

    // Of the program under test.
    static const char* program_path();

    static std::vector<Row> sql(const std::string& statement);
    static std::vector<std::string> statements();
    static Database& database();

    // Adds a responder of mailbox 1, switched on, without a condition; `columns` continues with
    // SQL's "column=value, ..." and may override any of them.
    static void add_responder(int id, const std::string& columns = "text='Gone fishing.'");
    // Adds a file to those of a responder; the file itself is not created.
    static void add_attachment(int responder, const std::string& name);
    static void add_forward(int responder, const std::string& address);
    // Moves a table of the panel out of sight until the next test.
    static void lose_table(const std::string& name);
    // Until the next test, the server begins to answer a query that reads rows of this table, and
    // fails with kRowFailure when the query goes on after `sound` rows.
    static void spoil_rows(const std::string& table, int sound = 0);

    // Makes a file, with the directories that lead to it.
    static void write_file(const std::string& path, std::string_view bytes);
    // Makes a file in the attachment repository of user@example.com.
    static void write_attachment(const std::string& name, std::string_view bytes);
    // The password in /etc/tva/.tva.shadow, without a line end.
    static std::string right_password();
    static void set_databytes(std::string_view content);
    static std::string attachment_path(const std::string& name);

    // How the mail program behaves, see mail_program.h.
    static void mail_program_behaves(const std::string& how);
    // Puts a shell script in the mail program's place; "$CAPTURE" in it is the capturing program.
    static void replace_mail_program(const std::string& script);
    static void remove_mail_program();

    // The names in /tmp, in order.
    static std::vector<std::string> temporary_files();

    static std::vector<std::string> lines_of(const std::string& path);

    // Waits until `condition` holds, for some seconds at most.
    template <typename Condition>
    static bool soon(Condition condition) {
        for (int tries = 0; tries < 10000; ++tries) {
            if (condition()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
};

// While it lives, /tmp is an empty file system mounted with these options of tmpfs.
class SmallTmp {
  public:
    explicit SmallTmp(const std::string& options);
    SmallTmp(const SmallTmp&) = delete;
    SmallTmp& operator=(const SmallTmp&) = delete;
    SmallTmp(SmallTmp&&) = delete;
    SmallTmp& operator=(SmallTmp&&) = delete;
    ~SmallTmp();
};

// While it lives, /dev is empty.
class NoDevices {
  public:
    NoDevices();
    NoDevices(const NoDevices&) = delete;
    NoDevices& operator=(const NoDevices&) = delete;
    NoDevices(NoDevices&&) = delete;
    NoDevices& operator=(NoDevices&&) = delete;
    ~NoDevices();
};

// Whether the world's root may take on the user id kNobody: not so in the user namespace of an
// ordinary user, who has but one id to give.
bool nobody_exists();

// What the server says when it reaches a spoilt row.
extern const std::string kRowFailure;

// A message from sender@example.org with the header lines given and a short text.
std::string message_with(std::initializer_list<std::string_view> lines,
                         std::string_view body = "Are you there?\n");
// From sender@example.org, subject "Hello".
std::string plain_message();

// The reply to sender@example.org from user@example.com as it must be sent, a single text part.
std::string plain_reply(const std::string& subject = "Re: Hello",
                        const std::string& text = "Gone fishing.");

// The command line of the reply from user@example.com to sender@example.org.
std::vector<std::string> reply_arguments();

// The first boundaries of every run: the C library's unseeded generator makes them.
extern const char* const kFirstBoundary;
extern const char* const kSecondBoundary;
