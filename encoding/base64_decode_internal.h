#pragma once

#include <cstddef>
#include <string>

/// The steps of encoding/base64_decode.h, apart for their tests.
namespace tolva {

/// Returns the value (0 to 63) of the next symbol of `text` at or after `*pos`, which moves past it.
/// At the end of `text` and at "=" the value is 0 and `*pos` stays. Skips and complains as
/// base64_decode does.
unsigned base64Take(const std::string& text, std::size_t* pos);

}  // namespace tolva
