#pragma once

#include <ostream>
#include <string>

#include "core/reply_marks.h"

class ResponseFile;
struct Mail_content;
struct ResponderRow;
struct ResponseAttachments;

/// What goes out as the answer of a responder.
enum class ResponseKind {
    kReply,
    kSizeNotice,  ///< the notice in place of a reply that exceeds the mail system's size limit
};

/// Composes the answer of `responder` to `mail`, which bears `marks`, in `file`. Throws SendError
/// when it cannot be written whole, and std::bad_alloc.
ResponseKind compose_response(const ResponseFile& file, const Mail_content& mail,
                              const ResponderRow& responder, const ResponseAttachments& attachments,
                              const ReplyMarks& marks);

/// Writes the notice that goes to the sender of `mail` in place of a reply that is too large.
/// `reply_to` is the responder's Reply-To address, may be empty. The notice bears `marks`.
void write_size_notice(std::ostream& out, const Mail_content& mail, const std::string& reply_to,
                       const ReplyMarks& marks = {});
