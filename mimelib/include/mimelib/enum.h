// SPDX-License-Identifier: Apache-2.0

#pragma once

using DwBool = bool;

/// Media types (RFC 2046) and transfer encodings (RFC 2045) by number. "Null" stands for an empty
/// field, "unknown" for any word that is not listed.
class DwMime {
  public:
    enum {
        kTypeNull,
        kTypeUnknown,
        kTypeText,
        kTypeMultipart,
        kTypeMessage,
        kTypeApplication,
        kTypeImage,
        kTypeAudio,
        kTypeVideo,
        kTypeModel
    };
    enum { kCteNull, kCteUnknown, kCte7bit, kCte8bit, kCteBinary, kCteQuotedPrintable, kCteBase64 };
};
