#include "core/run_start.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/run_end.h"

namespace {

constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGALRM, SIGXCPU};
constexpr std::array kCrashSignals = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};
constexpr std::array kWriteSignals = {SIGPIPE, SIGXFSZ};

// The handler of a crash must not need the stack that may have overflowed.
std::array<char, 16384> crash_stack;

// Handlers do only what is safe in them: unlink, write and _exit.

void end_by_signal(int /*signal*/) {
    remove_temporary_files();
    _exit(EXIT_SUCCESS);
}

void end_by_crash(int /*signal*/) {
    constexpr std::string_view text =
        "autoresponder: Internal error, the message is not answered.\n";
    remove_temporary_files();
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(written);
    _exit(EXIT_SUCCESS);
}

// A handler, unlike SIG_IGN, does not survive exec: the mail program starts with the default.
void go_on(int /*signal*/) {}

void handle(int signal, void (*handler)(int), int flags) {
    struct sigaction previous {};
    if (sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN &&
        handler == end_by_signal) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void open_standard_streams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) == -1) {
            // The lowest free descriptor is this one.
            const int opened = open("/dev/null", O_RDWR);
            static_cast<void>(opened);
        }
    }
}

void drop_untrusted_environment() {
    if (getauxval(AT_SECURE) == 0) {
        return;
    }
    constexpr const char* kept = "RESP_RECIPIENT";
    const char* value = std::getenv(kept);
    const std::string recipient = value != nullptr ? value : "";
    clearenv();
    if (value != nullptr) {
        setenv(kept, recipient.c_str(), 1);
    }
}

}  // namespace

void prepare_run() {
    open_standard_streams();
    drop_untrusted_environment();

    stack_t stack{};
    stack.ss_sp = crash_stack.data();
    stack.ss_size = crash_stack.size();
    sigaltstack(&stack, nullptr);

    for (const int signal : kEndingSignals) {
        handle(signal, end_by_signal, SA_RESTART);
    }
    for (const int signal : kCrashSignals) {
        handle(signal, end_by_crash, SA_ONSTACK);
    }
    for (const int signal : kWriteSignals) {
        handle(signal, go_on, SA_RESTART);
    }
}
