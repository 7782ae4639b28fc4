// SPDX-License-Identifier: Apache-2.0

#pragma once

// The fixture of tests that capture the processes in which what others have written is read, with a
// charset of the C library's that does what a text says (hostile_charset.cpp).

#include <sys/syscall.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/system/world.h"  // IWYU pragma: export

// The world with that charset, and with a responder. After each test, no process of the program may
// be left.
class CapturedProcess : public World {
  public:
    static constexpr char kCharset[] = "X-HOSTILE";
    static const char* const kModule;  // the file that it is in

    // The charset modules of the machine are out of sight between these.
    static void SetUpTestSuite();
    static void TearDownTestSuite();

  protected:
    void SetUp() override;
    void TearDown() override;

    // A message whose reader does these deeds as it decodes the subject.
    static std::string message_for(std::string_view deeds);
    static Invocation invocation_for(std::string_view deeds);

    // What the deeds came to, as the reply's subject has it. The reply must be as always but for
    // that, and the only thing that comes of the run, or the test fails.
    std::string outcome_of(std::string_view deeds);
    std::string outcome_of(const Invocation& invocation);

    // The outcome of each deed alone, a line each: "kill 17: EPERM\n".
    std::string outcomes_of(const std::vector<std::string>& deeds, Invocation how = {});

    static std::string subject_of(const Outcome& outcome);

    // The message is not read, for that reason, and nothing comes of the run.
    void expect_unread(std::string_view deeds, std::string_view reason);
    void expect_unread(const Invocation& invocation, std::string_view reason);

    static std::string unread(std::string_view reason);

    // A run that has been started with its input held open and goes on to deeds with add_input and
    // end_input.
    struct Held {
        std::unique_ptr<Program> program;
        std::string copy;  // the path of the message's copy
        std::vector<std::string> temporary_files_before;
    };
    static Held hold(Invocation how = {});
    static void go_on(const Held& held, std::string_view deeds);
    static Outcome settle(const Held& held);
    // The same where other runs go on.
    static Finished end_of(const Held& held);
    // What the deeds come to there, as outcome_of() has it.
    std::string outcome_of(const Held& held, std::string_view deeds);

    // A child of that process that is of the same program, as soon as there is one, or -1.
    static pid_t reader_of(const Program& program);
    // The same as soon as it is in that system call, by default waiting for its parent.
    static pid_t waiting_reader_of(const Program& program, long call = SYS_read);

    // The users that the program finds, until the end of the test.
    static void replace_users(const std::string& passwd);

    // What a captured process says to the one that waits for it (core/run/items.h).
    static std::string item(std::uint32_t kind, std::string_view bytes);

    static std::string number(std::uint64_t value);

    static std::string hexadecimal(std::string_view bytes);
    // With every bit turned round, as the deed "search-memory" wants it.
    static std::string inverted(std::string bytes);
};

// Whether the kernel has Landlock, and filters of system calls.
bool kernel_has_landlock();
bool kernel_has_filters();

// The lines of /proc/PROCESS/status that begin so, without white space.
std::string status_of(pid_t process, const std::vector<std::string>& names);
