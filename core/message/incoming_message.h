// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mimelib/mimepp.h>

#include "core/message/message_copy.h"
#include "support/result.h"

/// The incoming message on standard input.
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

/// The line that is reported when there is no file for the copy.
inline constexpr char kNoCopy[] = "Could not create a temporary file.";

}  // namespace autoresponder
