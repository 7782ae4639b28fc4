// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "core/panel/responder.h"
#include "core/reply/auto_submitted.h"

/// The reply of a responder: its headers, subject, text and parts, byte by byte.
namespace autoresponder {

class AttachmentRepository;
struct Mail_content;

/// What a reply is made of besides the message that it answers.
struct ReplySource {
    const ResponderRow& responder;
    const HeaderValues& header;  ///< from safe_header_values
    const ReplyMarks& marks;
    const AttachmentRepository& repository;
    const std::vector<std::string>& attachments;  ///< names of the files, in order
    const std::string& boundary;                  ///< divides the parts
};

/// Writes the reply to `mail`, headers and body (RFC 5322, RFC 2045 to 2047; lines end with a line
/// feed).
///
/// A From: address that cannot be converted to ASCII leaves that header out. For attachments that
/// cannot be read see core/reply/attachment_part.h. Throws std::bad_alloc.
void write_reply(std::ostream& out, const Mail_content& mail, const ReplySource& source);

/// A MIME boundary of 39 characters: eight hyphens, "=_" and 29 letters from rand(3), whose
/// generator is never seeded: every run goes through the same sequence, and each call within a run
/// takes the next 29 numbers of it.
std::string makeBoundaryStr();

}  // namespace autoresponder
