// SPDX-License-Identifier: Apache-2.0

#include "core/reply/reply.h"

#include <cstdlib>
#include <new>
#include <optional>

#include "core/message/mail_content.h"
#include "core/reply/attachment_part.h"
#include "core/reply/reply_address.h"
#include "core/reply/reply_text.h"
#include "core/reply/subject_placeholders.h"
#include "core/run/diagnostics.h"
#include "encoding/rfc1522.h"

namespace autoresponder {

namespace {

// The mailbox's address as it stands in From:, or null if it cannot be converted.
std::optional<std::string> from_address(const std::string& mailbox_address) {
    try {
        return reply_address(mailbox_address);
    } catch (const AddressError& error) {
        record(0, "IDN conversion error: %s", error.what());
    } catch (const std::bad_alloc&) {
        record(0, "Program failed due to exhausted memory");
    }
    return std::nullopt;
}

void write_headers(std::ostream& out, const Mail_content& mail, const ReplySource& source) {
    if (!source.header.reply_to.empty()) {
        out << "Reply-To: " << source.header.reply_to << "\n";
    }
    if (const auto from = from_address(mail.to)) {
        out << "From: " << *from << "\n";
    }
    out << "To: " << mail.from << "\n"
        << "MIME-Version: 1.0\n"
        << "Subject: " << tolva::rfc1522::encode(reply_subject(mail, source.responder)) << "\n";
    source.marks.write(out);
}

void write_text(std::ostream& out, const ReplySource& source) {
    const ReplyText text = reply_text(source.responder.text, source.header.charset);
    out << "Content-Type: " << source.header.content_type << "; charset=\"" << text.charset
        << "\"\n"
        << "Content-Transfer-Encoding: 8bit\n"
        << "Content-Disposition: inline\n"
        << "\n"
        << text.bytes << "\n\n\n";
}

}  // namespace

void write_reply(std::ostream& out, const Mail_content& mail, const ReplySource& source) {
    write_headers(out, mail, source);
    if (source.attachments.empty()) {
        write_text(out, source);
        return;
    }
    const std::string delimiter = "--" + source.boundary;
    out << "Content-Type: multipart/mixed;\n"
        << "\tboundary=\"" << source.boundary << "\"\n"
        << "\n"
        << delimiter << "\n";
    write_text(out, source);
    for (const std::string& name : source.attachments) {
        out << delimiter << "\n";
        write_attachment_part(out, source.repository, name);
    }
    out << delimiter << "--\n";
}

std::string makeBoundaryStr() {
    constexpr int random_letters = 29;
    constexpr int letters = 26;

    std::string boundary = "--------=_";
    for (int i = 0; i < random_letters; ++i) {
        const int r = std::rand() % (2 * letters);
        boundary += static_cast<char>(r < letters ? 'A' + r : 'a' + (r - letters));
    }
    return boundary;
}

}  // namespace autoresponder
