#pragma once

#include <string>

#include "core/body_lines.h"

/// One incoming message, as far as the rest of the run needs it. parse_message fills it, main owns
/// it, everybody else reads it. All fields are byte strings and may hold zero bytes.
struct Mail_content {
    /// Sender: local part + "@" + domain, as written (no decoding, no case change).
    std::string from;
    /// Recipient, the value of RESP_RECIPIENT exactly as given.
    std::string to;
    /// `to` before its first "@"; the whole of `to` when it has none.
    std::string to_mailname;
    /// `to` after its first "@"; the whole of `to` when it has none.
    std::string to_domain;
    /// Subject with encoded words decoded, UTF-8; empty when absent or undecodable.
    std::string subject;
    /// Body of the Date: field as written; empty when absent.
    std::string date;
    /// Charset that the message declares for its text, as written there; "US-ASCII" when none. Not
    /// the charset of `subject` and `body_lines`.
    std::string charset;
    /// The lines of the text, UTF-8 whenever its conversion succeeded. Never empty.
    BodyLines body_lines;
};

/// Sets the recipient's address and the two halves of it.
void set_recipient(Mail_content& mail, std::string address);
