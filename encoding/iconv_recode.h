#pragma once

#include <string>

namespace tolva {

std::string iconvRecode(const std::string& text, const std::string& from, const std::string& to,
                        bool skip_invalid);

}  // namespace tolva
