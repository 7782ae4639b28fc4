// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>

// What the heap was used for since an object of this class was made. For programs linked with the
// linker's --wrap for malloc, realloc and free (see CMakeLists.txt), which reaches the calls of the
// objects linked in; operator new counts as a malloc. One object at a time.
class HeapUse {
  public:
    HeapUse();

    // How often memory was asked for, reallocations included.
    std::size_t requests() const;
    // The most bytes in use at a time, beyond those in use at the start.
    std::size_t peak() const;
};
