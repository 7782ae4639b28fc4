// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace tolva {

/// Decodes the Base64 data of an encoded word (RFC 2047 section 4.1), leniently: blanks and line
/// ends are skipped, any other byte outside the alphabet is skipped with the line
/// "Bad base64 symbol: " + byte on standard error, and the first "=" ends the data. Only exhausted
/// memory throws (std::bad_alloc).
///
/// The length of a group is judged by all bytes read for it, including skipped ones: "QQ\n=="
/// yields two bytes, and a line end after the last group yields one zero byte.
std::string base64_decode(const std::string& text);

}  // namespace tolva
