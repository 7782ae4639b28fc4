#pragma once

#include <sys/types.h>

#include <string>

/// The mail submission program: message on standard input, "-f" and the envelope sender, then the
/// recipients on its command line.

inline constexpr const char* kMailProgram = "/usr/sbin/sendmail";

/// Whether the mail program may be given `address` as a recipient. It would take one that begins
/// with a hyphen for an option; a stranger would then choose how a program of root runs.
bool is_safe_recipient(const std::string& address);

/// Waits for the mail program to end. How it ended is its own business: it has reported, queued or
/// bounced what there was.
void wait_for_mail_program(pid_t pid);
