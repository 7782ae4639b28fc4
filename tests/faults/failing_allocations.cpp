// SPDX-License-Identifier: Apache-2.0

// To be preloaded: has an allocation of the program fail, counted from the beginning of main() on.
// The variable FAILING_ALLOCATION says which one: "7" the seventh, "7+" that one and all later
// ones, "7>1000" the seventh of those of more than 1000 bytes, "0" none. The file that
// ALLOCATION_COUNT names, if it does, gets the number of allocations at the end of the run.
//
// What the program starts is not affected: it does not inherit the variables.

#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

using Main = int (*)(int, char**, char**);

Main program_main = nullptr;
bool counting = false;
unsigned long allocations = 0;
unsigned long failing = 0;
bool later_ones_too = false;
unsigned long least_size = 0;  // what is smaller does not count
int count_file = -1;

bool fails(std::size_t size) {
    if (!counting || size < least_size) {
        return false;
    }
    ++allocations;
    if (failing == 0 || allocations < failing || (allocations > failing && !later_ones_too)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void write_count() {
    if (count_file >= 0) {
        dprintf(count_file, "%lu\n", allocations);
    }
}

int counted_main(int argc, char** argv, char** environment) {
    const char* which = std::getenv("FAILING_ALLOCATION");
    if (which != nullptr) {
        char* end = nullptr;
        failing = std::strtoul(which, &end, 10);
        later_ones_too = *end == '+';
        least_size = *end == '>' ? std::strtoul(end + 1, nullptr, 10) + 1 : 0;
        if (const char* path = std::getenv("ALLOCATION_COUNT")) {
            count_file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            std::atexit(write_count);
        }
        unsetenv("FAILING_ALLOCATION");
        unsetenv("ALLOCATION_COUNT");
        unsetenv("LD_PRELOAD");
        counting = true;
    }
    return program_main(argc, argv, environment);
}

}  // namespace

extern "C" {

int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loader_fini)(), void* stack_end) {
    using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
    program_main = main;
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(counted_main, argc, argv, init, fini, loader_fini, stack_end);
}

void* malloc(std::size_t size) {
    return fails(size) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return fails(count * size) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
    return fails(size) ? nullptr : __libc_realloc(block, size);
}

void* reallocarray(void* block, std::size_t count, std::size_t size) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        errno = ENOMEM;
        return nullptr;
    }
    return realloc(block, bytes);
}

void* memalign(std::size_t alignment, std::size_t size) {
    return fails(size) ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    void* made = memalign(alignment, size);
    if (made == nullptr) {
        return ENOMEM;
    }
    *block = made;
    return 0;
}
}
