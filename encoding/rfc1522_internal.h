#pragma once

#include <string>

/// The steps of encoding/rfc1522.h, apart for their tests.
namespace tolva::rfc1522 {

/// One word of a field body in UTF-8: decoded when it is an encoded word, unchanged when it is not
/// or is malformed. Text behind the closing "?=" stays, with a complaint. Throws as decode does.
std::string rfc1522_decode_word(const std::string& word);

/// Whether `c` has to be encoded.
bool rfc1522_nonprintable(char c);

/// `text` in Q encoding (RFC 2047 section 4.2).
std::string qp_encode(const std::string& text);

}  // namespace tolva::rfc1522
