#pragma once

#include <cctype>

namespace tolva {

/// isspace(3) of any char.
inline bool is_space(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace tolva
