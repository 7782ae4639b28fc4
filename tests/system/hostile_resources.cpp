// SPDX-License-Identifier: Apache-2.0

#include <sys/auxv.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include "tests/system/hostile_deeds.h"

namespace {

constexpr std::size_t kMiB = 1UL << 20;

char* at(std::uintptr_t address) {
    return std::bit_cast<char*>(address);
}

std::size_t number_in(const std::string& argument) {
    return std::strtoul(argument.c_str(), nullptr, 10);
}

std::string used(void* memory, std::size_t size) {
    if (memory == MAP_FAILED) {
        return outcome(-1);
    }
    std::memset(memory, 'x', size);
    return "done";
}

// So many MiB, in ways that the argument names.

std::string take_private_memory(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    return used(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
                size);
}

std::string take_shared_memory(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    return used(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0),
                size);
}

std::string take_stack_memory(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    return used(mmap(nullptr, size, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_GROWSDOWN, -1, 0),
                size);
}

// Memory that could be read only at first.
std::string take_memory_by_protection(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    void* memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || mprotect(memory, size, PROT_READ | PROT_WRITE) != 0) {
        return outcome(-1);
    }
    return used(memory, size);
}

std::string take_heap(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    return used(sbrk(static_cast<std::intptr_t>(size)), size);
}

// The stack's uppermost page, where the program's name is, made larger elsewhere.
std::string take_memory_from_stack(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    const std::size_t page = static_cast<std::size_t>(getpagesize());
    const std::uintptr_t name = getauxval(AT_EXECFN);
    return used(mremap(at(name / page * page), page, size, MREMAP_MAYMOVE), size);
}

// The stack itself, which grows where it is used.
std::string grow_stack(const std::string& argument) {
    volatile char here = 0;
    const volatile char* const top = &here;
    for (std::size_t i = 0; i < number_in(argument) * kMiB; i += 4096) {
        const_cast<volatile char*>(top)[-static_cast<std::ptrdiff_t>(i)] = 0;
    }
    return "done";
}

// The kernel's tables of pages: each page of memory that is only read takes one of 4 KiB, if they
// are far enough from each other.
std::string take_page_tables(const std::string& argument) {
    const std::size_t apart = 2 * kMiB;
    const std::size_t size = number_in(argument) * kMiB / 4096 * apart;
    void* memory =
        mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        return outcome(-1);
    }
    madvise(memory, size, MADV_NOHUGEPAGE);
    for (std::size_t i = 0; i < size; i += apart) {
        static_cast<void>(static_cast<volatile char*>(memory)[i]);
    }
    return "done";
}

std::string take_file_in_memory(const std::string& argument) {
    const std::size_t size = number_in(argument) * kMiB;
    const int file = memfd_create("captured", 0);
    if (file == -1 || ftruncate(file, static_cast<off_t>(size)) != 0) {
        return outcome(-1);
    }
    return used(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0), size);
}

std::string take_shared_segment(const std::string& argument) {
    return outcome(shmget(IPC_PRIVATE, number_in(argument) * kMiB, IPC_CREAT | 0600));
}

std::string raise_limit(const std::string& /*argument*/) {
    const rlimit more{RLIM_INFINITY, RLIM_INFINITY};
    return outcome(setrlimit(RLIMIT_DATA, &more));
}

// Time.

std::string never_end(const std::string& /*argument*/) {
    for (volatile bool forever = true; forever;) {
    }
    return "done";
}

std::string ignore_end_of_time(const std::string& /*argument*/) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXCPU);
    return outcome(sigprocmask(SIG_BLOCK, &signals, nullptr));
}

std::string sleep_for_long(const std::string& argument) {
    const timespec time{static_cast<time_t>(number_in(argument)), 0};
    return outcome(nanosleep(&time, nullptr));
}

// Sleeping as a mutex does.
std::string sleep_on_futex(const std::string& argument) {
    const timespec time{static_cast<time_t>(number_in(argument)), 0};
    const std::uint32_t value = 0;
    return outcome(syscall(SYS_futex, &value, 0 /* FUTEX_WAIT */, value, &time, nullptr, 0));
}

std::string crash(const std::string& /*argument*/) {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 0;
    return "done";
}

std::string end_at_once(const std::string& argument) {
    _exit(static_cast<int>(number_in(argument)));
}

// Output.

void send_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = write(descriptor, bytes.data(), bytes.size());
        if (sent <= 0) {
            _exit(EXIT_FAILURE);
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

std::string bytes_in(const std::string& hexadecimal) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hexadecimal.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(hexadecimal.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

// Says to the process that waits for it what the argument holds.
std::string say(const std::string& hexadecimal) {
    send_all(STDIN_FILENO, bytes_in(hexadecimal));
    return "done";
}

// "5 78" says "x" five times.
std::string say_times(const std::string& times_and_hexadecimal) {
    const std::size_t blank = times_and_hexadecimal.find(' ');
    const std::string bytes = bytes_in(times_and_hexadecimal.substr(blank + 1));
    for (std::size_t i = number_in(times_and_hexadecimal); i > 0; --i) {
        send_all(STDIN_FILENO, bytes);
    }
    return "done";
}

std::string say_for_ever(const std::string& hexadecimal) {
    const std::string bytes = bytes_in(hexadecimal);
    std::string much;
    while (much.size() < kMiB) {
        much += bytes;
    }
    for (;;) {
        send_all(STDIN_FILENO, much);
    }
}

// Says one byte after the other, with sleep in between where that is to be had.
std::string say_slowly(const std::string& hexadecimal) {
    const std::string bytes = bytes_in(hexadecimal);
    for (std::size_t i = 0;; ++i) {
        send_all(STDIN_FILENO, std::string(1, bytes[i % bytes.size()]));
        const timespec start = [] {
            timespec now{};
            clock_gettime(CLOCK_MONOTONIC, &now);
            return now;
        }();
        sleep_on_futex("1");
        for (timespec now = start; now.tv_sec < start.tv_sec + 1;) {
            clock_gettime(CLOCK_MONOTONIC, &now);
        }
    }
}

std::string complain(const std::string& text) {
    send_all(STDERR_FILENO, text + "\n");
    return "done";
}

std::string complain_for_ever(const std::string& text) {
    const std::string line(text + "\n");
    std::string much;
    while (much.size() < 65536) {
        much += line;
    }
    for (;;) {
        send_all(STDERR_FILENO, much);
    }
}

// Waits for the process that waits for it.
std::string wait_for_questions(const std::string& /*argument*/) {
    char byte = 0;
    return outcome(read(STDIN_FILENO, &byte, 1));
}

// Whether memory can be read there: a path that the kernel cannot read is another failure than one
// that names nothing.
bool is_readable(std::uintptr_t page) {
    struct stat status {};
    return stat(at(page), &status) == 0 || errno != EFAULT;
}

struct Area {
    std::uintptr_t begin;
    std::uintptr_t end;
};

constexpr Area around(std::uintptr_t place, std::size_t below, std::size_t above) {
    return {(place - below * kMiB) / 4096 * 4096, (place + above * kMiB) / 4096 * 4096};
}

bool stands_in(const Area& area, std::string_view text) {
    std::uintptr_t begin = area.begin;
    for (std::uintptr_t page = area.begin; page <= area.end; page += 4096) {
        if (page < area.end && is_readable(page)) {
            continue;
        }
        if (page > begin && memmem(at(begin), page - begin, text.data(), text.size())) {
            return true;
        }
        begin = page + 4096;
    }
    return false;
}

// Whether the bytes stand in memory where a program has its own: data, heap, libraries, stack. They
// come inverted, so that they do not find the message.
std::string search_memory(const std::string& hexadecimal) {
    const std::string inverted = bytes_in(hexadecimal);
    // On the stack below the searched part of it.
    std::array<char, 256> bytes;
    std::size_t size = 0;
    for (const char byte : inverted) {
        bytes.at(size++) = static_cast<char>(~byte);
    }
    const std::string_view text(bytes.data(), size);
    const auto stack = reinterpret_cast<std::uintptr_t>(bytes.data() + bytes.size());
    const auto heap = reinterpret_cast<std::uintptr_t>(sbrk(0));
    const auto library = reinterpret_cast<std::uintptr_t>(&std::malloc);
    const std::array areas = {around(getauxval(AT_ENTRY), 8, 8), around(heap, 64, 0),
                              around(library, 128, 32)};
    for (const Area& area : areas) {
        if (stands_in(area, text)) {
            return "found";
        }
    }
    return stands_in({(stack + 4095) / 4096 * 4096, getauxval(AT_EXECFN)}, text) ? "found" : "none";
}

constexpr std::array kDeeds = {
    Deed{"private-memory", take_private_memory},
    Deed{"shared-memory", take_shared_memory},
    Deed{"stack-memory", take_stack_memory},
    Deed{"protected-memory", take_memory_by_protection},
    Deed{"heap", take_heap},
    Deed{"memory-from-stack", take_memory_from_stack},
    Deed{"grow-stack", grow_stack},
    Deed{"page-tables", take_page_tables},
    Deed{"file-in-memory", take_file_in_memory},
    Deed{"shared-segment", take_shared_segment},
    Deed{"raise-limit", raise_limit},
    Deed{"never-end", never_end},
    Deed{"ignore-end-of-time", ignore_end_of_time},
    Deed{"sleep", sleep_for_long},
    Deed{"sleep-on-futex", sleep_on_futex},
    Deed{"crash", crash},
    Deed{"end", end_at_once},
    Deed{"say", say},
    Deed{"say-times", say_times},
    Deed{"say-for-ever", say_for_ever},
    Deed{"say-slowly", say_slowly},
    Deed{"complain", complain},
    Deed{"complain-for-ever", complain_for_ever},
    Deed{"wait", wait_for_questions},
    Deed{"search-memory", search_memory},
};

}  // namespace

std::string do_deed_with_resources(std::string_view name, const std::string& argument) {
    for (const Deed& deed : kDeeds) {
        if (deed.name == name) {
            return deed.action(argument);
        }
    }
    return "unknown";
}
