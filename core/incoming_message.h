#pragma once

class DwString;
struct Mail_content;

/// Reads the incoming message from standard input, keeps a copy of it (core/message_copy.h) and
/// fills `mail` from it and from the environment variable RESP_RECIPIENT.
///
/// Returns 0 when `mail` is filled and 1 when the message cannot be answered; the reason is then on
/// standard error. Text that cannot be converted to UTF-8 is a warning there. Throws
/// std::bad_alloc, and std::out_of_range for a subject that ends in blanks (see
/// tolva::rfc1522::decode). `mail` is untouched unless the result is 0.
int parse_message(Mail_content* mail);

/// The same; also keeps the message's header in `header`, unless that is null. A large header
/// is not copied, and keeps the memory of the whole message as long as it lives.
int parse_message(Mail_content* mail, DwString* header);
