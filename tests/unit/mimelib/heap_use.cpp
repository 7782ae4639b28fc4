// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/mimelib/heap_use.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

std::size_t requested = 0;
std::ptrdiff_t in_use = 0;
std::ptrdiff_t most_in_use = 0;

void* taken(void* block) {
    ++requested;
    in_use += static_cast<std::ptrdiff_t>(::malloc_usable_size(block));
    most_in_use = std::max(most_in_use, in_use);
    return block;
}

void given_back(void* block) {
    in_use -= static_cast<std::ptrdiff_t>(::malloc_usable_size(block));
}

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);

void* __wrap_malloc(std::size_t size) {
    return taken(__real_malloc(size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    given_back(block);
    return taken(__real_realloc(block, size));
}

void __wrap_free(void* block) {
    given_back(block);
    __real_free(block);
}
}

void* operator new(std::size_t size) {
    if (void* block = std::malloc(size)) {
        return block;
    }
    throw std::bad_alloc();
}

// The sanitizer would have one of its own, whose blocks must not be given to free.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

HeapUse::HeapUse() {
    requested = 0;
    in_use = 0;
    most_in_use = 0;
}

std::size_t HeapUse::requests() const {
    return requested;
}

std::size_t HeapUse::peak() const {
    return static_cast<std::size_t>(most_in_use);
}
