// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

/// The steps of encoding/rfc1522.h, declared for their tests.
namespace tolva::rfc1522 {

/// Returns one word of a field body: in UTF-8 when it is an encoded word, unchanged when it is none
/// or is malformed. Text after the closing "?=" is kept, with a complaint. Throws
/// std::runtime_error as decode does.
std::string rfc1522_decode_word(const std::string& word);

/// Returns whether `c` has to be encoded.
bool rfc1522_nonprintable(char c);

/// Returns `text` in Q encoding (RFC 2047 section 4.2).
std::string qp_encode(const std::string& text);

}  // namespace tolva::rfc1522
