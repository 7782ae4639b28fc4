// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/failing_allocation.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int until_failure = 0;

bool fails() {
    if (until_failure == 0 || --until_failure > 0) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __real_reallocarray(void* block, std::size_t count, std::size_t size);
char* __real_strdup(const char* text);

void* __wrap_malloc(std::size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    return fails() ? nullptr : __real_realloc(block, size);
}

void* __wrap_reallocarray(void* block, std::size_t count, std::size_t size) {
    return fails() ? nullptr : __real_reallocarray(block, count, size);
}

char* __wrap_strdup(const char* text) {
    return fails() ? nullptr : __real_strdup(text);
}
}

void* operator new(std::size_t size) {
    if (void* block = std::malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return std::malloc(size);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t& /*unused*/) noexcept {
    std::free(block);
}

FailingAllocation::FailingAllocation(int nth) {
    until_failure = nth;
}

FailingAllocation::~FailingAllocation() {
    until_failure = 0;
}
