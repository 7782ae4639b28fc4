// SPDX-License-Identifier: Apache-2.0

/// Ownership of what the C library allocates and opens.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tolva {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
using CPointer = std::unique_ptr<T, FreeDeleter>;

/// realloc(3) of an owned block. False with errno, and the block unchanged, when there is no
/// memory.
template <typename T>
[[nodiscard]] bool resize(CPointer<T>& block, std::size_t bytes) {
    auto* resized = static_cast<typename CPointer<T>::pointer>(std::realloc(block.get(), bytes));
    if (resized == nullptr) {
        return false;
    }
    static_cast<void>(block.release());
    block.reset(resized);
    return true;
}

/// Keeps errno, which may be the reason for giving the file up.
struct FileCloser {
    void operator()(std::FILE* file) const {
        const int error = errno;
        std::fclose(file);
        errno = error;
    }
};

using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace tolva
