#pragma once

#include <sys/types.h>

#include <string_view>

/// The mail submission program: message on standard input, "-f" and the envelope sender, then the
/// recipients on its command line.

inline constexpr const char* kMailProgram = "/usr/sbin/sendmail";

/// Why the mail program must not be given `address` as a recipient, as the end of a message about
/// it; null when it may. It would take an address that begins with a hyphen for an option, and a
/// stranger would choose how a program of root runs; control characters, of which no valid address
/// has any, would break out of the header field that names the recipient.
const char* recipient_objection(std::string_view address);

/// Waits for the mail program to end. How it ended is its own business: it has reported, queued or
/// bounced what there was.
void wait_for_mail_program(pid_t pid);
