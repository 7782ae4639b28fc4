// SPDX-License-Identifier: Apache-2.0

// inject [--log FILE] FAULT PROGRAM [ARGUMENT]...
//
// Runs PROGRAM, has something happen at one of its system calls, and ends as PROGRAM does; 125 when
// it cannot be traced. The calls of each kind are counted from 1 and from the beginning of main()
// on: the program under test begins by asking for the flags of its standard input. Those of its
// children count as long as they have not become another program. FAULT is one of
//
//   none
//   KIND:N:error:NUMBER   the Nth call of this kind fails with this errno value
//   KIND:N:short          it transfers a single byte, if it is a read(2), write(2) or the like
//   KIND:N:signal:NUMBER  the signal arrives as it begins, in the program, and in the child if the
//                         call is the child's
//
// KIND is the call's number in the kernel's table. "N+" stands for the Nth call and all later ones.
// FILE gets a line for each call: KIND, N, and "program" or "child".
//
// A failing call has no effect, as with the kernel; but close(2) has freed the descriptor all the
// same, and brk(2) returns the end of the heap as it is.

#include <fcntl.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

constexpr int kCannotTrace = 125;

using Registers = user_regs_struct;

struct Fault {
    enum class Kind { kNone, kError, kShort, kSignal };
    Kind kind = Kind::kNone;
    unsigned long call = 0;
    unsigned long at = 0;
    bool and_later = false;
    int number = 0;  // errno value or signal
};

template <typename Number>
Number number_in(std::string_view& text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    if (error != std::errc()) {
        throw std::invalid_argument("not a number: " + std::string(text));
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return number;
}

bool take(std::string_view& text, std::string_view prefix) {
    const bool has = text.starts_with(prefix);
    text.remove_prefix(has ? prefix.size() : 0);
    return has;
}

Fault parse(std::string_view text) {
    Fault fault;
    if (text == "none") {
        return fault;
    }
    fault.call = number_in<unsigned long>(text);
    if (!take(text, ":")) {
        throw std::invalid_argument("no such fault");
    }
    fault.at = number_in<unsigned long>(text);
    fault.and_later = take(text, "+");
    if (take(text, ":short")) {
        fault.kind = Fault::Kind::kShort;
        return fault;
    }
    fault.kind = take(text, ":error:")    ? Fault::Kind::kError
                 : take(text, ":signal:") ? Fault::Kind::kSignal
                                          : throw std::invalid_argument("no such fault");
    fault.number = number_in<int>(text);
    return fault;
}

void check(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    }
}

// A task has been killed while it was stopped; waitpid(2) will tell of its end.
struct TaskIsGone {};

void check_task(bool done, const char* what) {
    if (!done && errno == ESRCH) {
        throw TaskIsGone();
    }
    check(done, what);
}

Registers registers_of(pid_t task) {
    Registers registers{};
    check_task(ptrace(PTRACE_GETREGS, task, nullptr, &registers) == 0, "PTRACE_GETREGS");
    return registers;
}

void set_registers(pid_t task, const Registers& registers) {
    check_task(ptrace(PTRACE_SETREGS, task, nullptr, &registers) == 0, "PTRACE_SETREGS");
}

bool transfers(unsigned long call) {
    return call == SYS_read || call == SYS_write || call == SYS_pread64 || call == SYS_pwrite64 ||
           call == SYS_recvfrom || call == SYS_sendto;
}

class Tracer {
  public:
    Tracer(pid_t program, Fault fault, std::FILE* log)
        : program_(program), fault_(fault), log_(log) {}

    // Returns the status of the program, as from waitpid(2).
    int run();

  private:
    struct Task {
        bool is_new = true;
        // Of the call at hand, if it was interfered with: its own arguments, and what it returns
        // unless that is the kernel's affair.
        std::optional<Registers> entered;
        std::optional<int> result;
    };

    void begin();
    void handle_stop(pid_t task, int status);
    void handle_call(pid_t task);
    void go_on(pid_t task, int signal = 0);
    void enter(pid_t task);
    void leave(pid_t task);
    [[nodiscard]] bool is_hit(unsigned long call, unsigned long number) const;
    void apply(pid_t task, const Registers& registers);
    void fail(pid_t task, const Registers& registers);
    void change_call(pid_t task, const Registers& from, const Registers& to);

    pid_t program_;
    Fault fault_;
    std::FILE* log_;
    std::map<pid_t, Task> tasks_;  // that are traced
    bool counting_ = false;
    bool done_ = false;                             // nothing is left to do but to let go
    std::map<unsigned long, unsigned long> calls_;  // how many of each kind
};

void Tracer::begin() {
    int status = 0;
    check(waitpid(program_, &status, 0) == program_ && WIFSTOPPED(status), "the program's start");
    constexpr int options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEVFORK |
                            PTRACE_O_TRACEFORK | PTRACE_O_EXITKILL;
    check(ptrace(PTRACE_SETOPTIONS, program_, nullptr, options) == 0, "PTRACE_SETOPTIONS");
    tasks_[program_].is_new = false;
    go_on(program_);
}

int Tracer::run() {
    begin();
    std::optional<int> ended;
    while (!ended || !tasks_.empty()) {
        int status = 0;
        const pid_t task = waitpid(-1, &status, __WALL);
        check(task > 0, "waitpid");
        if (WIFSTOPPED(status)) {
            handle_stop(task, status);
            continue;
        }
        tasks_.erase(task);
        if (task == program_) {
            ended = status;
        }
    }
    return *ended;
}

void Tracer::handle_stop(pid_t task, int status) {
    const int event = status >> 16;
    const int signal = WSTOPSIG(status);
    if (event == PTRACE_EVENT_EXEC && task != program_) {
        ptrace(PTRACE_DETACH, task, nullptr, 0);  // it is another program's now
        tasks_.erase(task);
    } else if (event != 0) {
        go_on(task);
    } else if (signal == (SIGTRAP | 0x80)) {
        handle_call(task);
    } else {
        // A new child begins with a SIGSTOP that nobody sent.
        const bool is_new = std::exchange(tasks_[task].is_new, false);
        go_on(task, is_new && signal == SIGSTOP ? 0 : signal);
    }
}

void Tracer::handle_call(pid_t task) {
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, task, sizeof info, &info);
    try {
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            enter(task);
        } else {
            leave(task);
        }
        go_on(task);
    } catch (const TaskIsGone&) {
        tasks_[task].entered.reset();
    }
}

void Tracer::go_on(pid_t task, int signal) {
    if (done_ && !tasks_[task].entered) {
        ptrace(PTRACE_DETACH, task, nullptr, signal);
        tasks_.erase(task);
    } else {
        ptrace(PTRACE_SYSCALL, task, nullptr, signal);
    }
}

void Tracer::enter(pid_t task) {
    if (done_) {
        return;
    }
    const Registers registers = registers_of(task);
    counting_ |= registers.orig_rax == SYS_fcntl && registers.rdi == 0 && registers.rsi == F_GETFD;
    if (!counting_) {
        return;
    }
    const auto call = static_cast<unsigned long>(registers.orig_rax);
    const unsigned long number = ++calls_[call];
    if (log_ != nullptr) {
        std::fprintf(log_, "%lu %lu %s\n", call, number, task == program_ ? "program" : "child");
    }
    if (is_hit(call, number)) {
        apply(task, registers);
        done_ = !fault_.and_later;
    }
}

bool Tracer::is_hit(unsigned long call, unsigned long number) const {
    return fault_.kind != Fault::Kind::kNone && call == fault_.call &&
           (number == fault_.at || (fault_.and_later && number > fault_.at));
}

void Tracer::apply(pid_t task, const Registers& registers) {
    switch (fault_.kind) {
        case Fault::Kind::kNone:
            break;
        case Fault::Kind::kError:
            fail(task, registers);
            break;
        case Fault::Kind::kShort:
            if (transfers(registers.orig_rax) && registers.rdx > 1) {
                Registers shorter = registers;
                shorter.rdx = 1;
                change_call(task, registers, shorter);
            }
            break;
        case Fault::Kind::kSignal:
            kill(program_, fault_.number);
            if (task != program_) {
                kill(task, fault_.number);
            }
            break;
    }
}

void Tracer::fail(pid_t task, const Registers& registers) {
    Registers failing = registers;
    switch (registers.orig_rax) {
        case SYS_brk:
            failing.rdi = 0;
            break;
        case SYS_close:
            tasks_[task].result = -fault_.number;
            break;
        default:
            failing.orig_rax = static_cast<unsigned long long>(-1);  // no call at all
            tasks_[task].result = -fault_.number;
    }
    change_call(task, registers, failing);
}

void Tracer::change_call(pid_t task, const Registers& from, const Registers& to) {
    set_registers(task, to);
    tasks_[task].entered = from;
}

// A call leaves its arguments alone, and compilers rely on that.
void Tracer::leave(pid_t task) {
    Task& call = tasks_[task];
    if (!call.entered) {
        return;
    }
    Registers registers = registers_of(task);
    registers.rdi = call.entered->rdi;
    registers.rdx = call.entered->rdx;
    if (call.result) {
        registers.rax = static_cast<unsigned long long>(*call.result);
    }
    set_registers(task, registers);
    call.entered.reset();
    call.result.reset();
}

[[noreturn]] void end_with(int status) {
    if (WIFSIGNALED(status)) {
        signal(WTERMSIG(status), SIG_DFL);
        raise(WTERMSIG(status));
    }
    _exit(WEXITSTATUS(status));
}

pid_t start(char** argv) {
    const pid_t program = fork();
    if (program == 0) {
        // Where things lie in memory decides how often more of it is asked for.
        personality(ADDR_NO_RANDOMIZE);
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0) {
            execv(argv[0], argv);
        }
        _exit(kCannotTrace);
    }
    return program;
}

struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

int main(int argc, char** argv) try {
    std::unique_ptr<std::FILE, Closer> log;
    if (argc > 2 && std::string_view(argv[1]) == "--log") {
        log.reset(std::fopen(argv[2], "we"));
        check(log != nullptr, argv[2]);
        argc -= 2;
        argv += 2;
    }
    if (argc < 3) {
        throw std::invalid_argument("usage: inject [--log FILE] FAULT PROGRAM [ARGUMENT]...");
    }
    const Fault fault = parse(argv[1]);
    const int status = Tracer(start(argv + 2), fault, log.get()).run();
    log.reset();
    end_with(status);
} catch (const std::exception& error) {
    std::fprintf(stderr, "inject: %s\n", error.what());
    return kCannotTrace;
}
