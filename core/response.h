#pragma once

#include <ostream>
#include <string>
#include <vector>

struct Mail_content;
struct ResponderRow;

/// What a reply carries besides its text.
struct ResponseAttachments {
    std::string boundary;  ///< from makeBoundaryStr
    std::string directory;
    std::vector<std::string> names;
};

/// Writes the reply of `responder` to `mail`, headers and body, to `out` (RFC 5322, RFC 2045 to
/// 2047; lines end with a line feed).
///
/// Attachments are streamed from their files. One that cannot be read is reported on standard error
/// and left empty. A From: address that cannot be converted to ASCII leaves that header out.
void write_response(std::ostream& out, const Mail_content& mail, const ResponderRow& responder,
                    const ResponseAttachments& attachments);

/// The subject of the reply, UTF-8, not yet encoded: the responder's own with its placeholders
/// filled in, else "Re: " and the incoming subject.
///
/// The values of the placeholders are those of the first message of the process.
std::string response_subject(const Mail_content& mail, const ResponderRow& responder);
