#pragma once

#include <mimelib/mimepp.h>

class MessageCopy;

/// Reads the incoming message from standard input to its end, and keeps it in `copy`. Both get a
/// line feed after the last line, even if that line is empty. Where reading fails the message ends,
/// with the reason on standard error. Throws std::bad_alloc.
DwString read_message(MessageCopy& copy);
