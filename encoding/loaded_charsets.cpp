#include "encoding/loaded_charsets.h"

#include <cstddef>

namespace tolva {

namespace {

constexpr std::size_t kMost = 256;

}  // namespace

void LoadedCharsets::keep(const std::string& charset) {
    if (charsets_.size() == kMost && !charsets_.contains(charset)) {
        charsets_.clear();
    }
    // To a charset for which no text is converted: nothing is shared with conversions in use.
    charsets_.try_emplace(charset, charset, "WCHAR_T");
}

}  // namespace tolva
