// SPDX-License-Identifier: Apache-2.0

#include "tests/system/hostile_deeds.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <linux/capability.h>

namespace {

pid_t process_in(const std::string& argument) {
    return static_cast<pid_t>(std::atoi(argument.c_str()));
}

// Files.

std::string read_file(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::array<char, 64> bytes;
    const ssize_t size = file == -1 ? -1 : read(file, bytes.data(), bytes.size());
    return size < 0 ? outcome(-1) : std::string(bytes.data(), static_cast<std::size_t>(size));
}

std::string write_file(const std::string& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC, 0666);
    return outcome(file == -1 ? -1 : write(file, "captured", 8));
}

std::string make_file(const std::string& path) {
    return write_file(path, O_WRONLY | O_CREAT | O_APPEND);
}

std::string change_file(const std::string& path) {
    return write_file(path, O_RDWR);
}

std::string make_file_without_a_name(const std::string& directory) {
    return write_file(directory, O_RDWR | O_TMPFILE);
}

std::string empty_file(const std::string& path) {
    return outcome(open(path.c_str(), O_RDONLY | O_TRUNC | O_CLOEXEC));
}

std::string truncate_file(const std::string& path) {
    return outcome(truncate(path.c_str(), 0));
}

std::string remove_file(const std::string& path) {
    return outcome(unlink(path.c_str()));
}

std::string rename_file(const std::string& path) {
    return outcome(rename(path.c_str(), (path + ".captured").c_str()));
}

std::string link_file(const std::string& path) {
    return outcome(link(path.c_str(), (path + ".captured").c_str()));
}

std::string link_to_file(const std::string& path) {
    return outcome(symlink(path.c_str(), (path + ".captured").c_str()));
}

std::string make_directory(const std::string& path) {
    return outcome(mkdir(path.c_str(), 0777));
}

std::string make_pipe(const std::string& path) {
    return outcome(mkfifo(path.c_str(), 0666));
}

std::string change_mode(const std::string& path) {
    return outcome(chmod(path.c_str(), 0777));
}

std::string change_times(const std::string& path) {
    return outcome(utimensat(AT_FDCWD, path.c_str(), nullptr, 0));
}

// Whether there are descriptors besides the standard streams.
std::string use_descriptors(const std::string& /*argument*/) {
    std::string found;
    for (int descriptor = 3; descriptor < 65536; ++descriptor) {
        struct stat status {};
        if (fstat(descriptor, &status) == 0) {
            found += std::to_string(descriptor) + " ";
        }
    }
    return found.empty() ? "none" : found;
}

// Rights.

std::string become_root(const std::string& /*argument*/) {
    return outcome(setresuid(0, 0, 0));
}

std::string become_roots_group(const std::string& /*argument*/) {
    return outcome(setresgid(0, 0, 0));
}

std::string join_roots_group(const std::string& /*argument*/) {
    const gid_t root = 0;
    return outcome(setgroups(1, &root));
}

std::string take_capabilities(const std::string& /*argument*/) {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    const __user_cap_data_struct all{.effective = ~0U, .permitted = ~0U, .inheritable = 0};
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> wanted = {all, all};
    return outcome(syscall(SYS_capset, &header, wanted.data()));
}

// Its first process has all capabilities there.
std::string make_user_namespace(const std::string& /*argument*/) {
    return outcome(unshare(CLONE_NEWUSER));
}

std::string change_root(const std::string& path) {
    return outcome(chroot(path.c_str()));
}

// Other processes.

std::string kill_process(const std::string& process) {
    return outcome(kill(process_in(process), SIGKILL));
}

// Whether there is one that it may signal, besides itself.
std::string signal_all(const std::string& /*argument*/) {
    return outcome(kill(-1, 0));
}

std::string kill_thread(const std::string& process) {
    return outcome(syscall(SYS_tgkill, process_in(process), process_in(process), SIGKILL));
}

std::string open_process(const std::string& process) {
    return outcome(syscall(SYS_pidfd_open, process_in(process), 0));
}

std::string trace(const std::string& process) {
    return outcome(ptrace(PTRACE_SEIZE, process_in(process), nullptr, nullptr));
}

std::string read_memory(const std::string& process) {
    std::array<char, 16> bytes;
    const iovec here{bytes.data(), bytes.size()};
    const iovec there{bytes.data(), bytes.size()};  // a fork has its stack at the same place
    return outcome(process_vm_readv(process_in(process), &here, 1, &there, 1, 0));
}

std::string change_limits(const std::string& process) {
    const rlimit none{0, 0};
    return outcome(prlimit(process_in(process), RLIMIT_CPU, &none, nullptr));
}

std::string parent(const std::string& /*argument*/) {
    return outcome(syscall(SYS_getppid));  // as getppid(3) does not tell of failures
}

// Connections.

std::string connect_to(const std::string& path) {
    const int stream = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    return outcome(stream == -1 ? -1
                                : connect(stream, reinterpret_cast<const sockaddr*>(&address),
                                          sizeof address));
}

std::string open_socket(const std::string& family_and_type) {
    int family = 0;
    int type = 0;
    std::sscanf(family_and_type.c_str(), "%d %d", &family, &type);
    return outcome(socket(family, type, 0));
}

std::string open_socket_pair(const std::string& /*argument*/) {
    std::array<int, 2> ends{};
    return outcome(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()));
}

// A datagram from the socket that it has, to somebody else.
std::string send_elsewhere(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    return outcome(sendto(STDIN_FILENO, "x", 1, 0, reinterpret_cast<const sockaddr*>(&address),
                          sizeof address));
}

// System calls made by the kernel's own threads, which pass filters by.
std::string open_ring(const std::string& /*argument*/) {
    std::array<char, 120> parameters{};
    return outcome(syscall(SYS_io_uring_setup, 1, parameters.data()));
}

// Programs.

std::string start_program(const std::string& path) {
    return outcome(execl(path.c_str(), path.c_str(), nullptr));
}

// One that is not in a file system.
std::string start_program_from_memory(const std::string& script) {
    const int program = memfd_create("captured", 0);
    if (program == -1 || write(program, script.data(), script.size()) == -1) {
        return outcome(-1);
    }
    std::array<char*, 1> none{};
    return outcome(syscall(SYS_execveat, program, "", none.data(), none.data(), AT_EMPTY_PATH));
}

std::string fork_process(const std::string& /*argument*/) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(EXIT_SUCCESS);
    }
    return outcome(child);
}

std::string fork_by_clone(const std::string& flags) {
    const long child =
        syscall(SYS_clone, std::atol(flags.c_str()) | SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    if (child == 0) {
        _exit(EXIT_SUCCESS);
    }
    return outcome(child);
}

std::string become_traceable(const std::string& /*argument*/) {
    return outcome(prctl(PR_SET_DUMPABLE, 1, 0, 0, 0));
}

std::string outlive_parent(const std::string& /*argument*/) {
    return outcome(prctl(PR_SET_PDEATHSIG, 0, 0, 0, 0));
}

constexpr std::array kDeeds = {
    Deed{"read", read_file},
    Deed{"make", make_file},
    Deed{"change", change_file},
    Deed{"make-nameless", make_file_without_a_name},
    Deed{"empty", empty_file},
    Deed{"truncate", truncate_file},
    Deed{"remove", remove_file},
    Deed{"rename", rename_file},
    Deed{"link", link_file},
    Deed{"symlink", link_to_file},
    Deed{"mkdir", make_directory},
    Deed{"mkfifo", make_pipe},
    Deed{"chmod", change_mode},
    Deed{"utimes", change_times},
    Deed{"descriptors", use_descriptors},
    Deed{"setuid", become_root},
    Deed{"setgid", become_roots_group},
    Deed{"setgroups", join_roots_group},
    Deed{"capset", take_capabilities},
    Deed{"user-namespace", make_user_namespace},
    Deed{"chroot", change_root},
    Deed{"kill", kill_process},
    Deed{"signal-all", signal_all},
    Deed{"kill-thread", kill_thread},
    Deed{"open-process", open_process},
    Deed{"trace", trace},
    Deed{"read-memory", read_memory},
    Deed{"limit", change_limits},
    Deed{"parent", parent},
    Deed{"connect", connect_to},
    Deed{"socket", open_socket},
    Deed{"socketpair", open_socket_pair},
    Deed{"send-to", send_elsewhere},
    Deed{"ring", open_ring},
    Deed{"exec", start_program},
    Deed{"exec-memory", start_program_from_memory},
    Deed{"fork", fork_process},
    Deed{"clone", fork_by_clone},
    Deed{"become-traceable", become_traceable},
    Deed{"outlive-parent", outlive_parent},
};

}  // namespace

std::string outcome(long result) {
    return result == -1 ? strerrorname_np(errno) : "done";
}

std::string do_deed(std::string_view name, const std::string& argument) {
    for (const Deed& deed : kDeeds) {
        if (deed.name == name) {
            return deed.action(argument);
        }
    }
    return do_deed_with_resources(name, argument);
}
