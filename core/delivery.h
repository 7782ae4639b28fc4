#pragma once

#include <sys/types.h>

#include <string>

class ResponseFile;
struct Mail_content;

/// Whether a mail of `size` bytes is larger than `limit`; a limit of 0 or less is none.
bool exceeds_size_limit(off_t size, int limit);

/// Puts a short notice in the place of the reply if the reply is larger than qmail's size limit for
/// messages (qmail-smtpd(8), control file databytes). `reply_to` is the responder's Reply-To
/// address, may be empty.
void hold_to_size_limit(const ResponseFile& file, const Mail_content& mail,
                        const std::string& reply_to);

/// Hands the reply to the mail program, from the own address to the sender of `mail`, and waits for
/// the program to end.
///
/// Throws std::runtime_error when the reply cannot be handed over; its reason is on standard error
/// by then. Throws tolva::idn::IdnaError when the own address has no ASCII form.
void submit_response(const Mail_content& mail);
