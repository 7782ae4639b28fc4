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
