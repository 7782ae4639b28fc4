// SPDX-License-Identifier: Apache-2.0

// Reads any bytes as a header and compares the result with that of the naive reader.
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/fuzz/require.h"
#include "tests/unit/core/header_agreement.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string found = disagreement({reinterpret_cast<const char*>(data), size});
    require(found.empty(), found.c_str());
    return 0;
}
