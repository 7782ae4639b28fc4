// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>

#include <mimelib/mimepp.h>

namespace autoresponder {

/// A text with its Content-Transfer-Encoding undone, in the charset that it declares.
struct MessageText {
    enum class Source {
        kMessage,    ///< the body of a message that is no multipart
        kPart,       ///< a part of a multipart
        kNoPart,     ///< nothing: no direct part of the multipart is a text
        kOtherType,  ///< nothing: the message is neither a text nor a multipart
    };

    std::string charset = "US-ASCII";
    DwString body;
    Source source = Source::kOtherType;
    std::size_t part = 0;  ///< which part, counted from 0
};

/// The text that key words are looked for in: the body of a message that is a text or does not
/// state its type, else the first direct part of a multipart that says it is a text. Parts that do
/// not state their type are passed over, nested multiparts are not entered. Empty if there is none.
MessageText choose_text(const DwMessage& message);

/// Whether the entity states a type, and that is a text.
bool is_text(const DwEntity& entity);

/// The charset that the entity's Content-Type declares, as written there; "US-ASCII" when it
/// declares none (RFC 2046, 4.1.2).
DwString GetCharset(const DwEntity& entity);

/// Stores the entity's body in `out` with its Content-Transfer-Encoding undone (RFC 2045, 6). A
/// body in an encoding that is not known here is taken as it stands.
void DecodeBody(const DwEntity& entity, DwString& out);

}  // namespace autoresponder
