/// Ownership of what the C library gave, behind the C interfaces.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace tolva {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
using CPointer = std::unique_ptr<T, FreeDeleter>;

/// Leaves errno as it is: it tells why the file is given up.
struct FileCloser {
    void operator()(std::FILE* file) const {
        const int error = errno;
        std::fclose(file);
        errno = error;
    }
};

using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace tolva
