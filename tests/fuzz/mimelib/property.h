// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/fuzz/require.h"
#include "tests/unit/mimelib/naive.h"

// Whether `part` lies within `whole`, sharing its bytes.
inline bool is_slice(const DwString& part, const DwString& whole) {
    return part.empty() || (part.data() >= whole.data() &&
                            part.data() + part.length() <= whole.data() + whole.length());
}

// What `read` returns for each element of a sequence, first to last. An element must stay while the
// next one is asked for, and that one while the first one is.
template <typename First, typename Read>
auto read_all(First first, Read read) {
    std::vector<decltype(read(*first()))> all;
    for (auto* element = first(); element != nullptr;) {
        all.push_back(read(*element));
        auto* const next = element->Next();
        require(read(*element) == all.back(), "an element stays when the next one is asked for");
        require(element->Next() == next, "the next element is the same when asked for again");
        if (next != nullptr) {
            const auto before = read(*next);
            require(first() != nullptr, "the first element is found again");
            require(read(*next) == before, "an element stays when the first one is asked for");
        }
        element = next;
    }
    return all;
}

inline DwString input(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
