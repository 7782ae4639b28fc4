#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/unit/mimelib/naive.h"

// Ends the run with the property named when it does not hold.
inline void require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "property violated: %s\n", property);
        std::abort();
    }
}

// Whether `part` lies within `whole`, sharing its bytes.
inline bool is_slice(const DwString& part, const DwString& whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.length() <= whole.data() + whole.length());
}

inline DwString input(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
