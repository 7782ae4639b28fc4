// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <span>
#include <utility>

#include "support/result.h"

namespace autoresponder {

/// Two blocks of memory that a process shares with a child of its own: while one fills the one, the
/// other uses the other.
///
/// A pipe would not do where reading may hang: whatever moves bytes from a file to a pipe without a
/// copy (splice(2), sendfile(2)) holds the pipe meanwhile, and its reader cannot even close it.
class SharedBlocks {
  public:
    static constexpr std::size_t kSize = std::size_t{1} << 17;  ///< of a block, in bytes
    static constexpr std::size_t kCount = 2;

    /// To be made before the child is. ENOMEM if there is no memory (mmap(2)).
    static tolva::Result<SharedBlocks> make();

    SharedBlocks(SharedBlocks&& other) noexcept : memory_(std::exchange(other.memory_, nullptr)) {}
    SharedBlocks& operator=(SharedBlocks&&) = delete;
    SharedBlocks(const SharedBlocks&) = delete;
    SharedBlocks& operator=(const SharedBlocks&) = delete;
    ~SharedBlocks();

    [[nodiscard]] std::span<char> block(std::size_t number) const {
        return {memory_ + number * kSize, kSize};
    }

    /// Keeps children that this process makes from sharing them, too (madvise(2)).
    void keep_from_children() const;

  private:
    explicit SharedBlocks(char* memory) : memory_(memory) {}

    char* memory_;
};

}  // namespace autoresponder
