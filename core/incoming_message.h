#pragma once

#include <cstddef>
#include <optional>

#include <mimelib/mimepp.h>

#include "core/mail_content.h"
#include "core/message_text.h"
#include "core/sender.h"

/// What a message yields, and from where it was taken.
struct MessageAnalysis {
    Mail_content content;
    Sender::Field sender_field = Sender::Field::kFrom;
    MessageText::Source text_source = MessageText::Source::kMessage;
    std::size_t text_part = 0;  ///< see MessageText::part
};

/// What is reported last of a message that cannot be answered at all.
inline constexpr char kAbnormalExit[] = "Abnormal exit.";

/// Takes apart the message `text`, which was sent to `recipient`, null if the address is not known.
/// Returns what it yields; null, with the reason on standard error, if it cannot be answered. Text
/// that cannot be converted to UTF-8 draws a warning there.
///
/// Keeps the message's header in `header`, unless that is null. A large header is not copied, and
/// keeps the whole message in memory as long as it lives.
///
/// Throws std::bad_alloc, and std::out_of_range for a subject that ends in blanks (see
/// tolva::rfc1522::decode).
std::optional<MessageAnalysis> analyse_message(DwString text, const char* recipient,
                                               DwString* header = nullptr);

/// Reads the incoming message from standard input, keeps a copy of it (core/message_copy.h) and
/// fills `mail` from it and from the environment variable RESP_RECIPIENT.
///
/// Returns 0 when `mail` is filled and 1 when the message cannot be answered; the reason is then on
/// standard error. Throws as analyse_message does. `mail` is untouched unless the result is 0.
int parse_message(Mail_content* mail);

/// The same; also keeps the message's header, as analyse_message does.
int parse_message(Mail_content* mail, DwString* header);
