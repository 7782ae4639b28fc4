// SPDX-License-Identifier: Apache-2.0

#pragma once

/// The MIME library: parsing of a mail message as it came in (RFC 822/2822, RFC 2045, RFC 2046).
///
/// Everything a component yields is a slice of the message text, which is held once. Nothing is
/// parsed before it is asked for, nested multiparts are never parsed, and time grows in proportion
/// to the text whatever it holds. Any byte string is a message. No component may be used by two
/// threads at once, and neither may two strings that share a buffer. Running out of memory throws
/// std::bad_alloc.
///
/// Pointers and references that a component hands out belong to it and live as long as it does,
/// except for the parts of a body, the parameters of a media type and the addresses of a list. Of
/// these only two exist at a time, however many the text holds: Next() keeps the one it is called
/// on and the one it returns; FirstBodyPart(), FirstParameter(), FirstAddress() and FirstMailbox()
/// keep the one they return and the one used last before. All others are destroyed with everything
/// they handed out, except for copied strings. Starting again from the first reads the text again.

// IWYU pragma: begin_exports
#include <mimelib/address.h>
#include <mimelib/body.h>
#include <mimelib/codec.h>
#include <mimelib/component.h>
#include <mimelib/entity.h>
#include <mimelib/enum.h>
#include <mimelib/field_body.h>
#include <mimelib/headers.h>
#include <mimelib/media_type.h>
#include <mimelib/string.h>
// IWYU pragma: end_exports

/// To be called once before anything is parsed.
void DwInitialize();
