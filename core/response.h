#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "core/reply_marks.h"

class AttachmentRepository;
struct Mail_content;
struct ResponderRow;

/// What a reply carries besides its text.
struct ResponseAttachments {
    const AttachmentRepository& repository;
    const std::vector<std::string>& names;  ///< of the files, in order
    const std::string& boundary;            ///< divides the parts
};

/// Writes the reply of `responder` to `mail`, headers and body, to `out` (RFC 5322, RFC 2045 to
/// 2047; lines end with a line feed). It bears `marks`.
///
/// A From: address that cannot be converted to ASCII leaves that header out. For attachments that
/// cannot be read see core/attachment_part.h. Throws std::bad_alloc.
void write_response(std::ostream& out, const Mail_content& mail, const ResponderRow& responder,
                    const ResponseAttachments& attachments, const ReplyMarks& marks = {});

/// The text of a reply as it is sent.
struct ResponseText {
    std::string bytes;
    std::string charset;
};

/// The text of `responder` in its charset, or in UTF-8 where it cannot be converted. Throws
/// std::bad_alloc.
ResponseText response_text(const ResponderRow& responder);

/// The subject of the reply, UTF-8, not yet encoded: the responder's own with its placeholders
/// filled in, else "Re: " and the incoming subject.
///
/// The values of the placeholders are those of the first message of the process, which must stay
/// in place as long as this is called.
std::string response_subject(const Mail_content& mail, const ResponderRow& responder);
