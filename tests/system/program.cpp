// SPDX-License-Identifier: Apache-2.0

#include "tests/system/program.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sched.h>  // IWYU pragma: keep; where there is no vfork(2)
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <utility>

#include <linux/filter.h>
#include <linux/seccomp.h>

namespace {

int memory_file(const char* name) {
    const int fd = memfd_create(name, MFD_CLOEXEC);
    if (fd < 0) {
        throw std::runtime_error("memfd_create failed");
    }
    return fd;
}

void write_all(int fd, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t wrote = write(fd, bytes.data() + done, bytes.size() - done);
        if (wrote < 0) {
            throw std::runtime_error("write failed");
        }
        done += static_cast<std::size_t>(wrote);
    }
}

std::string content(int fd) {
    struct stat status {};
    fstat(fd, &status);
    std::string bytes(static_cast<std::size_t>(status.st_size), '\0');
    if (pread(fd, bytes.data(), bytes.size(), 0) != status.st_size) {
        throw std::runtime_error("pread failed");
    }
    return bytes;
}

constexpr std::uint32_t kTryAgain = SECCOMP_RET_ERRNO | EAGAIN;

bool install(std::span<sock_filter> filter) {
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Has the kernel refuse every way to make a process.
bool refuse_fork() {
    std::array<sock_filter, 7> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone3, 3, 0),
#ifdef SYS_fork
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_fork, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_vfork, 1, 0),
#else
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 1, 0),
#endif
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, kTryAgain),
    }};
    return install(filter);
}

// Has it refuse vfork(2), which programs are started with.
bool refuse_programs() {
#ifdef SYS_vfork
    constexpr std::uint32_t call = SYS_vfork;
    constexpr std::uint32_t flags = ~0U;
#else
    constexpr std::uint32_t call = SYS_clone;
    constexpr std::uint32_t flags = CLONE_VFORK;
#endif
    std::array<sock_filter, 6> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS,
                 flags == ~0U ? offsetof(seccomp_data, arch) : offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, flags, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, kTryAgain),
    }};
    return install(filter);
}

bool hide_landlock() {
    std::array<sock_filter, 4> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_landlock_create_ruleset, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
    }};
    return install(filter);
}

// To be the last filter.
bool hide_filters() {
    std::array<sock_filter, 7> filter = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_seccomp, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_prctl, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PR_SET_SECCOMP, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
    }};
    return install(filter);
}

bool become_nobody() {
    return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
}

void set_environment(const Invocation& invocation) {
    for (const char* name : {"RESP_RECIPIENT", "SENDER", "RETURN_PATH"}) {
        unsetenv(name);
    }
    if (invocation.recipient) {
        setenv("RESP_RECIPIENT", invocation.recipient->c_str(), 1);
    }
    for (const auto& [name, value] : invocation.environment) {
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (invocation.refuse_fork || invocation.refuse_programs) {
        // The leak checker starts a process of its own.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    }
}

// What the child does; the limits come last because they would bind the steps before them.
[[noreturn]] void become(const std::string& path, const Invocation& invocation, int in, int out,
                         int err) {
    set_environment(invocation);
    for (int number = 1; number < NSIG; ++number) {
        std::signal(number, SIG_DFL);
    }
    for (const int number : invocation.ignored) {
        std::signal(number, SIG_IGN);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    umask(invocation.umask);
    bool ready = invocation.groups.empty() ||
                 setgroups(invocation.groups.size(), invocation.groups.data()) == 0;
    ready = ready && dup2(in, 0) == 0 && dup2(out, 1) == 1 && dup2(err, 2) == 2 &&
            close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0;
    for (const int fd : invocation.closed) {
        close(fd);
    }
    for (const auto& [resource, value] : invocation.limits) {
        // The soft limit alone: the mail program may lift it for itself.
        rlimit limit = {};
        ready = ready && getrlimit(static_cast<__rlimit_resource>(resource), &limit) == 0;
        limit.rlim_cur = value;
        ready = ready && setrlimit(static_cast<__rlimit_resource>(resource), &limit) == 0;
    }
    ready = ready && (!invocation.refuse_fork || refuse_fork()) &&
            (!invocation.refuse_programs || refuse_programs()) &&
            (!invocation.hide_landlock || hide_landlock()) &&
            (!invocation.hide_filters || hide_filters());
    const bool by_nobody = invocation.set_user_id || invocation.as_nobody;
    ready = ready && (!by_nobody || become_nobody());
    if (ready) {
        std::vector<const char*> arguments = {invocation.name ? invocation.name->c_str()
                                                              : path.c_str()};
        for (const std::string& argument : invocation.arguments) {
            arguments.push_back(argument.c_str());
        }
        arguments.push_back(nullptr);
        execv(path.c_str(), const_cast<char* const*>(arguments.data()));
    }
    _exit(126);
}

}  // namespace

Program::Program(const std::string& path, const Invocation& invocation)
    : out_(memory_file("stdout")), err_(memory_file("stderr")) {
    if (invocation.hold_input_open) {
        std::array<int, 2> ends = {};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
        input_ = ends[0];
        holder_ = ends[1];
        write_all(holder_, invocation.message);
    } else if (invocation.input_fd >= 0) {
        input_ = fcntl(invocation.input_fd, F_DUPFD_CLOEXEC, 0);
    } else if (!invocation.input_path.empty()) {
        input_ = open(invocation.input_path.c_str(), O_RDONLY | O_CLOEXEC);
    } else {
        input_ = memory_file("stdin");
        write_all(input_, invocation.message);
        lseek(input_, 0, SEEK_SET);
    }
    // Appending, so that the program and the mail programs do not write over each other.
    fcntl(out_, F_SETFL, O_APPEND);
    fcntl(err_, F_SETFL, O_APPEND);
    pid_ = fork();
    if (pid_ == 0) {
        become(path, invocation, input_, out_, err_);
    }
    if (pid_ < 0) {
        throw std::runtime_error("fork failed");
    }
}

Program::~Program() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const int fd : {input_, holder_, out_, err_}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void Program::signal(int number) const {
    kill(pid_, number);
}

void Program::add_input(const std::string& bytes) const {
    write_all(holder_, bytes);
}

void Program::end_input() {
    close(std::exchange(holder_, -1));
}

Finished Program::wait(int seconds) {
    const int watch = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    pollfd end = {watch, POLLIN, 0};
    const bool ended = poll(&end, 1, seconds * 1000) == 1;
    close(watch);
    if (!ended) {
        throw std::runtime_error("the program does not end; on its standard error: " +
                                 content(err_));
    }
    Finished finished;
    wait4(pid_, &finished.status, 0, &finished.usage);
    pid_ = -1;
    finished.out = content(out_);
    finished.err = content(err_);
    return finished;
}
