// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Texts in UTF-8 that may contain any other bytes, too.
namespace tolva {

/// The first bytes of `text`, at most `most` of them, less a character that would be cut in two.
std::string_view utf8_prefix(std::string_view text, std::size_t most);

/// How many bytes the character at the start of `text`, which is not empty, has; 0 if it is none
/// (RFC 3629), or one of the control characters of ISO 8859.
std::size_t utf8_character_length(std::string_view text);

/// `text` in lower case. Bytes that are not UTF-8 stay as they are.
std::string utf8_lower_case(const std::string& text);

}  // namespace tolva
