// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tolva {

/// Converts `text`, any bytes, from the charset `from` to the charset `to` with the C library's
/// iconv(3).
///
/// The charset names go to iconv_open(3): its spelling rules, aliases and suffixes ("//TRANSLIT",
/// "//IGNORE") hold, a zero byte ends a name, and an empty name is the locale's charset, which is
/// US-ASCII in a program that has not called setlocale(3). A name of more than 1024 bytes is taken
/// as unknown.
///
/// With `skip_invalid` every byte at which iconv finds an invalid sequence, or a character that
/// `to` does not have, is replaced by "?" and the conversion continues at the next byte. Without it
/// such a byte makes the conversion fail. No closing shift sequence is produced for a stateful
/// `to`.
///
/// Throws std::runtime_error with the text
/// - "Cannot convert from " + from + " to " + to: a charset is unknown,
/// - "Conversion from " + from + " to " + to: an invalid byte, or text that ends in an incomplete
///   sequence,
/// - "Closing conversion from " + from + " to utf-8 failed": iconv_close(3) failed.
std::string iconvRecode(const std::string& text, const std::string& from, const std::string& to,
                        bool skip_invalid);

/// Does the same without a copy of the text or of the result, which goes to `take_piece` in pieces
/// of 1 to 4096 bytes. A piece is valid during the call only. Pieces may already have been taken
/// when the conversion fails. What `take_piece` throws is passed on.
void iconvRecode(std::string_view text, const std::string& from, const std::string& to,
                 bool skip_invalid, const std::function<void(std::string_view)>& take_piece);

}  // namespace tolva
