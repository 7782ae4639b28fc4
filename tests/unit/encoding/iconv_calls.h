#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The calls of iconv(3)'s functions in the program this is linked into, which fail when told to
/// and are those of the C library otherwise.
struct IconvCalls {
    bool close_fails = false;

    /// A conversion reads nothing, writes so much, and leaves that errno.
    bool stalls = false;
    int stall_errno = 0;
    std::size_t stall_output = 0;

    /// The charsets that conversions were to be opened from.
    std::vector<std::string> tried;
    int opened = 0;
    int closed = 0;
    /// The room for the output of each conversion.
    std::vector<std::size_t> rooms;
};

extern IconvCalls iconv_calls;
