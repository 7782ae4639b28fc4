// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

/// Encoded words in header fields: "=?charset?Q?data?=" and "=?charset?B?data?=" (RFC 1522, now
/// RFC 2047). Texts are bytes of any value and any length; time is linear in it.
namespace tolva::rfc1522 {

/// Returns `text`, a field body without its line ends, with every encoded word replaced by its
/// content in UTF-8. Words are separated by spaces and tabs; blanks between two encoded words are
/// dropped, all others kept.
///
/// A malformed encoded word is kept as it is and named on standard error ("wrong rfc1522
/// sequence ..."); bad hexadecimal pairs ("Bad hex in quoted-printable string: ...") and bad Base64
/// (encoding/base64_decode.h) are named too. All lines are written by the time the function returns
/// or throws. Bytes that are invalid in the word's charset become "?".
///
/// Throws std::runtime_error when a charset is unknown or its text is incomplete (see
/// encoding/iconv_recode.h), and std::out_of_range when `text` ends in a blank or does not fit a
/// 32-bit position.
std::string decode(std::string text);

/// Returns `text`, in UTF-8, in the form for a header: unchanged when it consists of plain
/// characters, else as a single encoded word labelled "utf-8", however long; only a leading space
/// is left plain before it. Not plain are control bytes, bytes of 0x80 and above and the characters
/// ! " ( ) * + - / = ? and _. Throws std::bad_alloc only.
std::string encode(std::string text);

}  // namespace tolva::rfc1522
