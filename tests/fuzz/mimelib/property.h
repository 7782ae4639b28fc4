#pragma once

#include <cstdint>
#include <string>

#include "tests/fuzz/require.h"
#include "tests/unit/mimelib/naive.h"

// Whether `part` lies within `whole`, sharing its bytes.
inline bool is_slice(const DwString& part, const DwString& whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.length() <= whole.data() + whole.length());
}

inline DwString input(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
