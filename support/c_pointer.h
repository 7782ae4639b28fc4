/// Ownership of what the C library's allocators gave, behind the C interfaces.
#pragma once

#include <cstdlib>
#include <memory>

namespace tolva {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
using CPointer = std::unique_ptr<T, FreeDeleter>;

}  // namespace tolva
