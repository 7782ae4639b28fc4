#include "core/response.h"

#include <new>
#include <optional>

#include "core/attachment_part.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/responder_row.h"
#include "core/response_subject.h"
#include "core/response_text.h"
#include "encoding/idn.h"
#include "encoding/rfc1522.h"

namespace {

// The mailbox's address as it stands in From:, or nothing if it cannot be converted.
std::optional<std::string> from_address(const std::string& mailbox_address) {
    try {
        return tolva::idn::toAscii(mailbox_address);
    } catch (const tolva::idn::IdnaError& error) {
        record(0, "IDN conversion error: %s", error.what());
    } catch (const std::bad_alloc&) {
        record(0, "Program failed due to exhausted memory");
    }
    return std::nullopt;
}

void write_headers(std::ostream& out, const Mail_content& mail, const ResponderRow& responder,
                   const ReplyMarks& marks) {
    if (!responder.reply_to.empty()) {
        out << "Reply-To: " << responder.reply_to << "\n";
    }
    if (const auto from = from_address(mail.to)) {
        out << "From: " << *from << "\n";
    }
    out << "To: " << mail.from << "\n"
        << "MIME-Version: 1.0\n"
        << "Subject: " << tolva::rfc1522::encode(response_subject(mail, responder)) << "\n";
    marks.write(out);
}

void write_text(std::ostream& out, const ResponderRow& responder) {
    const ResponseText text = response_text(responder);
    out << "Content-Type: " << responder.content_type << "; charset=\"" << text.charset << "\"\n"
        << "Content-Transfer-Encoding: 8bit\n"
        << "Content-Disposition: inline\n"
        << "\n"
        << text.bytes << "\n\n\n";
}

}  // namespace

void write_response(std::ostream& out, const Mail_content& mail, const ResponderRow& responder,
                    const ResponseAttachments& attachments, const ReplyMarks& marks) {
    write_headers(out, mail, responder, marks);
    if (attachments.names.empty()) {
        write_text(out, responder);
        return;
    }
    const std::string delimiter = "--" + attachments.boundary;
    out << "Content-Type: multipart/mixed;\n"
        << "\tboundary=\"" << attachments.boundary << "\"\n"
        << "\n"
        << delimiter << "\n";
    write_text(out, responder);
    for (const std::string& name : attachments.names) {
        out << delimiter << "\n";
        write_attachment_part(out, attachments.repository, name);
    }
    out << delimiter << "--\n";
}
