// SPDX-License-Identifier: Apache-2.0

#include "core/files/shared_blocks.h"

#include <sys/mman.h>

#include <cerrno>

namespace autoresponder {

tolva::Result<SharedBlocks> SharedBlocks::make() {
    void* memory =
        mmap(nullptr, kCount * kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return tolva::Errno{errno};
    }
    return SharedBlocks(static_cast<char*>(memory));
}

SharedBlocks::~SharedBlocks() {
    if (memory_ != nullptr) {
        munmap(memory_, kCount * kSize);
    }
}

void SharedBlocks::keep_from_children() const {
    madvise(memory_, kCount * kSize, MADV_DONTFORK);
}

}  // namespace autoresponder
