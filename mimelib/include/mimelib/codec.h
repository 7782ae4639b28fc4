#pragma once

#include <mimelib/string.h>

/// Undo the transfer encodings of RFC 2045, sections 6.7 and 6.8. Both set `out`, which may be `in`
/// itself, to what could be decoded. They return 0, or -1 when the input is malformed.

/// Characters outside the alphabet are skipped. The text ends with the first group of four that is
/// padded, malformed or cut short. Input of 1, 2 or 5 bytes gives an empty result.
int DwDecodeBase64(const DwString& in, DwString& out);

/// The input ends at its first zero byte. Every other byte loses its highest bit before it is
/// looked at, so that 0xBD counts as '='; only a line feed itself ends a line. White space at line
/// ends is dropped, and CR LF becomes LF.
int DwDecodeQuotedPrintable(const DwString& in, DwString& out);
