// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Records the calls of iconv(3)'s functions in the program that this is linked into, and makes
/// them fail when told to.
struct IconvCalls {
    bool close_fails = false;

    /// A conversion that stalls reads nothing, produces `stall_output` bytes and leaves
    /// `stall_errno`.
    bool stalls = false;
    int stall_errno = 0;
    std::size_t stall_output = 0;

    /// The source charsets of all attempts to open a conversion.
    std::vector<std::string> tried;
    int opened = 0;
    int closed = 0;
    /// How much room for output each conversion had.
    std::vector<std::size_t> rooms;
};

extern IconvCalls iconv_calls;
