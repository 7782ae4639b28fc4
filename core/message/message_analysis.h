// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <mimelib/mimepp.h>

#include "core/message/mail_content.h"  // IWYU pragma: export
#include "core/message/message_text.h"  // IWYU pragma: export
#include "core/message/sender.h"        // IWYU pragma: export
#include "core/run/settings.h"

/// Takes a message apart. Strangers wrote it: this is for a process without rights
/// (core/reader/message_reader.h).
namespace autoresponder {

/// What a message yields, and from where it was taken.
struct MessageAnalysis {
    /// Why the message cannot be answered at all, as the line to report; null if it can. Otherwise
    /// nothing else is set.
    const char* objection = nullptr;
    Mail_content content = {};
    Sender::Field sender_field = Sender::Field::kFrom;
    MessageText::Source text_source = MessageText::Source::kMessage;
    std::size_t text_part = 0;  ///< see MessageText::part
};

/// The lines that are reported for messages that cannot be answered.
inline constexpr char kNoSender[] =
    "Could not get sender's e-mail address from Reply-To: or From: headers.";
inline constexpr char kNoRecipient[] =
    "Could not get recipient e-mail address from RESP_RECIPIENT environment variable";

/// Takes the text of a message, UTF-8 as far as it could be converted, piece by piece: as long as
/// the message, it need not be in memory twice.
class TextSink {
  public:
    TextSink() = default;
    TextSink(const TextSink&) = delete;
    TextSink& operator=(const TextSink&) = delete;
    virtual ~TextSink() = default;

    /// The text begins, anew if some of it has been added before. It will have some `expected`
    /// bytes.
    virtual void begin(std::size_t expected) = 0;
    virtual void add(std::string_view piece) = 0;
};

/// Takes apart the message `text`, which was sent to `recipient`, null if the address is not known.
/// Where only people are answered, `header` becomes the header as it was sent. The text goes to
/// `sink`; the lines of the result's content stay empty. Text that cannot be converted to UTF-8
/// draws a warning on standard error.
///
/// Throws std::bad_alloc, and std::out_of_range for a subject that ends in blanks (see
/// tolva::rfc1522::decode).
MessageAnalysis analyse_message(DwString text, const char* recipient, Audience audience,
                                std::string& header, TextSink& sink);

}  // namespace autoresponder
