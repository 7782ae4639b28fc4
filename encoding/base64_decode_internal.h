// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The steps of encoding/base64_decode.h, for the decoder of encoded words and for tests.
namespace tolva {

class Complaints;

/// Like the public function of this name, but adds its lines for standard error to `complaints`.
std::string base64_decode(std::string_view text, Complaints& complaints);

/// Returns the value (0 to 63) of the next symbol of `text` at or after `*pos`, which moves past
/// it. At the end of `text` and at "=" the value is 0 and `*pos` stays. Skips and complains as
/// base64_decode does.
unsigned base64Take(const std::string& text, std::size_t* pos);

}  // namespace tolva
