#pragma once

#include <functional>
#include <string>

class ReplyMarks;
class ResponseFile;
struct Mail_content;
struct ResponderRow;
struct ResponseAttachments;

struct Envelope {
    std::string sender;
    std::string recipient;
};

/// From whom to whom the answers to `mail` go: from the mailbox's address to the message's sender.
/// Throws tolva::idn::IdnaError when the mailbox's address has no ASCII form, and SendError when
/// the mail program must not be given the sender's.
Envelope response_envelope(const Mail_content& mail);

/// Calls `send`. When it throws, records in the log why the answer is not sent. Returns whether it
/// was.
bool sent_or_recorded(const std::function<void()>& send);

/// Composes the answer in `file`, hands it to the mail program and waits for that to end. An answer
/// that cannot be sent is recorded in the log and left at that: the run goes on, the next responder
/// may fare better.
void send_response(const ResponseFile& file, const Mail_content& mail,
                   const ResponderRow& responder, const ResponseAttachments& attachments,
                   const ReplyMarks& marks);
