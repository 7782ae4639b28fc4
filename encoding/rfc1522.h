#pragma once

#include <string>

/// Encoded words in header fields: "=?charset?Q?data?=" and "=?charset?B?data?=" (RFC 1522, now
/// RFC 2047). Texts are bytes of any value and any length; time is linear in it.
namespace tolva::rfc1522 {

/// `text`, a field body without its line ends, with every encoded word replaced by its content in
/// UTF-8. Words are separated by spaces and tabs; blanks between two encoded words go, all others
/// stay.
///
/// A malformed encoded word stays as it is and is named on standard error ("wrong rfc1522
/// sequence ..."); so are a bad hexadecimal pair ("Bad hex in quoted-printable string: ...") and
/// bad Base64 (encoding/base64_decode.h). Bytes that are invalid in the word's charset become "?".
///
/// Throws std::runtime_error when a charset is unknown or its text is incomplete (see
/// encoding/iconv_recode.h), and std::out_of_range when `text` ends in a blank or does not fit a
/// 32-bit position.
std::string decode(std::string text);

/// `text`, in UTF-8, as it may stand in a header: unchanged when it holds nothing but plain
/// characters, else as one encoded word labelled "utf-8" of any length, before which only a leading
/// space stays plain. Not plain are control bytes, bytes of 0x80 and above and the characters
/// ! " ( ) * + - / = ? and _
std::string encode(std::string text);

}  // namespace tolva::rfc1522
