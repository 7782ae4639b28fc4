#pragma once

class ReplyMarks;
class ResponseFile;
struct Mail_content;
struct ResponderRow;
struct ResponseAttachments;

/// Sends the reply of `responder` to `mail`, or the notice in its place if it exceeds the mail
/// system's size limit, from the mailbox's address to the sender of `mail`. It is composed in
/// `file`, bears `marks`, and is handed to the mail program, whose end is waited for.
///
/// A reply that cannot be sent is recorded in the log and left at that: the run goes on, the next
/// responder may fare better.
void send_response(const ResponseFile& file, const Mail_content& mail,
                   const ResponderRow& responder, const ResponseAttachments& attachments,
                   const ReplyMarks& marks);
