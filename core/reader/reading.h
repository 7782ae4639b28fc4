// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>

#include <mimelib/mimepp.h>

#include "core/run/confined_process.h"
#include "core/run/settings.h"

/// The half of reading a message that runs in the confined process, and what both halves say to
/// each other.
namespace autoresponder {

/// Kinds of items. Each that is a text may come several times, to be put together.
enum class Fact : std::uint32_t {
    kObjection = ConfinedEnd::kFirstFreeKind,  ///< number of what is Missing; nothing else comes
    kSender,
    kSenderField,  ///< number
    kSubject,
    kDate,
    kCharset,
    kTextBegins,  ///< number of bytes that are to be expected; forgets what came of the text before
    kText,
    kTextSource,  ///< number
    kTextPart,    ///< number
    kMachine,
    kSenderLocalPart,  ///< begins another spelling of the sender's address
    kSenderDomain,
    kMessageId,
    kAll,       ///< that was all, where only people are answered; what follows are answers
    kInHeader,  ///< number: whether one of the addresses that were asked for stands in the header

    // Questions.
    kLocalPart,
    kDomain,
    kIsInHeader,
};

/// What is missing for an answer.
enum class Missing : std::uint8_t { kSender, kRecipient };

/// Reads the message `text`, which was sent to `recipient`, null if the address is not known, and
/// tells `end` what it yields. Where only people are answered, answers questions then.
void read_message_and_tell(ConfinedEnd& end, DwString text, const char* recipient,
                           Audience audience);

}  // namespace autoresponder
