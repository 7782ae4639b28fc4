#pragma once

#include <mimelib/mimepp.h>

#include "control/explanation.h"
#include "support/db.h"

class HeaderFields;
class MailFiles;

/// A message in the forms that its explanation takes.
struct MessageAtHand {
    const DwString& source;
    const DwMessage& parsed;
    const HeaderFields* header;  ///< null unless only people are answered
};

/// Explains what each responder of the mailbox, in the server's order, would do with the message:
/// both are in `explanation`, which gets the responders and the mails. `files` gets the mails'
/// bytes. Throws EndOfRun and Failure.
void explain_responders(Explanation& explanation, const MessageAtHand& message, MYSQL* connection,
                        const EscapedAddress& recipient, MailFiles& files);
