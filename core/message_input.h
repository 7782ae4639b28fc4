#pragma once

#include <mimelib/mimepp.h>

class MessageCopy;

/// The incoming message as it was read.
struct MessageInput {
    DwString text;
    int error = 0;  ///< errno value of a read that failed; the text ends there
};

/// Reads the incoming message from standard input to its end, and keeps it in `copy` unless that is
/// null. Both get a line feed after the last line, even if that line is empty. Throws
/// std::bad_alloc.
MessageInput read_message(MessageCopy* copy);
