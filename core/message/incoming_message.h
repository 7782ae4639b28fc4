// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>

#include <mimelib/mimepp.h>

#include "core/message/mail_content.h"  // IWYU pragma: export
#include "core/message/message_copy.h"
#include "core/message/message_text.h"  // IWYU pragma: export
#include "core/message/sender.h"        // IWYU pragma: export
#include "core/run/settings.h"
#include "support/result.h"

/// The way of a message from standard input to what the rest of the run knows about it:
///
///     DwString text = receive_message(copy);
///     MessageAnalysis message = analyse_message(std::move(text), recipient, Audience::kEverybody);
///     if (message.objection == nullptr) { ... message.content.subject ... }
namespace autoresponder {

/// The message as it was read, with a newline after its last line, even if that line is empty.
struct MessageInput {
    DwString text;
    tolva::Result<void> read;  ///< the text ends where reading failed
};

/// Reads the incoming message from standard input to its end. Throws std::bad_alloc.
MessageInput read_message();

/// The same; also appends everything to `copy`, and closes it. A failure to read is reported on
/// standard error.
DwString receive_message(MessageCopy& copy);

/// What a message yields, and from where it was taken.
struct MessageAnalysis {
    /// Why the message cannot be answered at all, as the line to report; null if it can. Otherwise
    /// nothing else is set.
    const char* objection = nullptr;
    Mail_content content = {};
    std::string header = {};  ///< where only people are answered, the header as it was sent
    Sender::Field sender_field = Sender::Field::kFrom;
    MessageText::Source text_source = MessageText::Source::kMessage;
    std::size_t text_part = 0;  ///< see MessageText::part
};

/// Takes apart the message `text`, which was sent to `recipient`, null if the address is not known.
/// Text that cannot be converted to UTF-8 draws a warning on standard error.
///
/// Throws std::bad_alloc, and std::out_of_range for a subject that ends in blanks (see
/// tolva::rfc1522::decode).
MessageAnalysis analyse_message(DwString text, const char* recipient, Audience audience);

/// Reads the incoming message, keeps a copy of it and fills `mail` from it and from the environment
/// variable RESP_RECIPIENT. For tools of the panel; the program itself calls receive_message and
/// walk.
///
/// Returns 0 when `mail` is filled and 1 when the message cannot be answered; the reason is then on
/// standard error. Throws as analyse_message does. `mail` is untouched unless the result is 0.
int parse_message(Mail_content* mail);

/// The line that is reported when there is no file for the copy.
inline constexpr char kNoCopy[] = "Could not create a temporary file.";

}  // namespace autoresponder
