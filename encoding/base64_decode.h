#pragma once

#include <cstddef>
#include <string>

namespace tolva {

/// Decodes the Base64 data of an encoded word (RFC 2047 section 4.1), leniently: blanks and line
/// ends are skipped, any other byte outside the alphabet is skipped with the line
/// "Bad base64 symbol: " + byte on standard error, and the first "=" ends the data.
///
/// A group's length is judged by the bytes read for it, skipped ones included: "QQ\n==" gives two
/// bytes and a line end behind the last group one zero byte.
std::string base64_decode(const std::string& text);

/// The value (0 to 63) of the next symbol of `text` at or after `*pos`, which moves behind it. At
/// the end of `text` and at "=" the value is 0 and `*pos` stays. Skips and complains as
/// base64_decode does.
unsigned base64Take(const std::string& text, std::size_t* pos);

}  // namespace tolva
