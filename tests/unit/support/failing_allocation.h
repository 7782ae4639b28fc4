// SPDX-License-Identifier: Apache-2.0

/// Lets an allocation of the code under test fail. For programs linked with the linker's --wrap for
/// malloc, calloc, realloc, reallocarray and strdup (see CMakeLists.txt), which reaches the calls
/// of the objects linked in, not those inside the C library. operator new counts as a malloc.
#pragma once

class FailingAllocation {
  public:
    /// The allocation number nth from now on fails, 1 being the next one; the others succeed.
    explicit FailingAllocation(int nth);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
};
