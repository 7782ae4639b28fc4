// SPDX-License-Identifier: Apache-2.0

#include "core/run/signals.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include "core/run/temporary_files.h"

namespace autoresponder {

namespace {

// All that end a process unless they are handled; the real-time signals are added below.
constexpr std::array kEndingSignals = {SIGHUP,  SIGINT,    SIGQUIT,  SIGTERM, SIGALRM,
                                       SIGXCPU, SIGUSR1,   SIGUSR2,  SIGIO,   SIGPROF,
                                       SIGPWR,  SIGSTKFLT, SIGVTALRM};
constexpr std::array kCrashSignals = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP};
constexpr std::array kWriteSignals = {SIGPIPE, SIGXFSZ};

pid_t run_process = -1;

// The handler of a crash must not need the stack that may have overflowed.
std::array<char, 16384> crash_stack;

// Handlers do only what is safe in them: unlink, write and _exit.

[[noreturn]] void end_by(std::string_view message) {
    constexpr int cannot_become_program = 255;
    if (getpid() != run_process) {
        _exit(cannot_become_program);  // a child on its way to a program; the files are not its own
    }
    remove_temporary_files();
    [[maybe_unused]] const auto written = write(STDERR_FILENO, message.data(), message.size());
    _exit(EXIT_SUCCESS);
}

void end_by_signal(int /*signal*/) {
    end_by("autoresponder: Ended by a signal before the message was dealt with.\n");
}

void end_by_crash(int /*signal*/) {
    end_by("autoresponder: Internal error, the message is not answered.\n");
}

// A handler, unlike SIG_IGN, does not survive exec: the mail program starts with the default.
void go_on(int /*signal*/) {}

void handle(int signal, void (*handler)(int), int flags = 0) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void handle_unless_ignored(int signal, void (*handler)(int)) {
    struct sigaction inherited {};
    if (sigaction(signal, nullptr, &inherited) == 0 && inherited.sa_handler != SIG_IGN) {
        handle(signal, handler);
    }
}

}  // namespace

void handle_signals() {
    stack_t stack{};
    stack.ss_sp = crash_stack.data();
    stack.ss_size = crash_stack.size();
    sigaltstack(&stack, nullptr);

    run_process = getpid();
    for (const int signal : kEndingSignals) {
        handle_unless_ignored(signal, end_by_signal);
    }
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) {
        handle_unless_ignored(signal, end_by_signal);
    }
    for (const int signal : kCrashSignals) {
        handle(signal, end_by_crash, SA_ONSTACK);
    }
    for (const int signal : kWriteSignals) {
        handle(signal, go_on, SA_RESTART);
    }
}

}  // namespace autoresponder
