// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mimelib/string.h>

/// Undo the transfer encodings of RFC 2045, sections 6.7 and 6.8. Both set `out`, which may be `in`
/// itself, to what could be decoded, and return 0, or -1 if the input is malformed.

/// Characters outside the alphabet are skipped. The text ends with the first group of four that is
/// padded, or that is malformed because it is cut short or padded elsewhere than at its end. Input
/// of 1, 2 or 5 bytes is malformed and decodes to nothing.
int DwDecodeBase64(const DwString& in, DwString& out);

/// The input ends at its first zero byte. Every other byte loses its highest bit before it is
/// looked at, so that 0xBD counts as '='; only a line feed itself ends a line. Spaces, tabs, CRs
/// and LFs at line ends are dropped, but form feeds and vertical tabs are not; CR LF becomes LF. A
/// '=' without two hex digits after it is malformed, except at the end of a line.
int DwDecodeQuotedPrintable(const DwString& in, DwString& out);
