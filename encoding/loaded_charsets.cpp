// SPDX-License-Identifier: Apache-2.0

#include "encoding/loaded_charsets.h"

#include <cstddef>

namespace tolva {

namespace {

constexpr std::size_t kMostNames = 4096;

}  // namespace

void LoadedCharsets::keep(const std::string& charset) {
    if (charsets_.size() == kMostNames && !charsets_.contains(charset)) {
        charsets_.clear();
    }
    // The target is one that texts are not converted to: their conversions share nothing with this.
    charsets_.try_emplace(charset, charset, "WCHAR_T");
}

}  // namespace tolva
