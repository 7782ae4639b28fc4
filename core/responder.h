#pragma once

class HeaderFields;
struct Mail_content;

/// Answers `mail`: finds the recipient's mailbox in the panel's database and sends the reply of
/// each of its responders that is on, matches the message and may answer this sender once more
/// today.
///
/// Returns 0 when the last responder has been handled. A database that cannot be reached or
/// queried, and a mailbox that does not exist, end the run instead.
int db_mail_act(Mail_content* mail);

/// The same; where `header`, the header of `mail`, is not null, only people are answered: a message
/// for which there is an impersonal_reason is not, with a line on standard error, and replies bear
/// ReplyMarks.
int db_mail_act(Mail_content* mail, const HeaderFields* header);
