#include "core/too_large_reply.h"

#include "core/mail_content.h"
#include "core/reply_marks.h"
#include "core/responder_row.h"
#include "core/response.h"
#include "core/response_file.h"
#include "core/size_limit.h"
#include "encoding/rfc1522.h"

void write_size_notice(std::ostream& out, const Mail_content& mail, const std::string& reply_to,
                       const ReplyMarks& marks) {
    if (!reply_to.empty()) {
        out << "Reply-To: " << reply_to << "\n";
    }
    out << "From: " << mail.to << "\n"
        << "CC: \n"
        << "Subject: " << tolva::rfc1522::encode("Re: " + mail.subject) << "\n";
    marks.write(out);
    out << "\n"
        << "An error occurred while responding on you request.\n"
        << "\n"
        << "Autoresponder message size exceeds databytes limit.\n"
        << "\n"
        << "\n"
        << "\n";
}

ResponseKind compose_response(const ResponseFile& file, const Mail_content& mail,
                              const ResponderRow& responder, const ResponseAttachments& attachments,
                              const ReplyMarks& marks) {
    const auto written = file.write(SizeLimit::of_mail_system(), [&](std::ostream& out) {
        write_response(out, mail, responder, attachments, marks);
    });
    if (written == ResponseFile::Written::kWhole) {
        return ResponseKind::kReply;
    }
    file.write(SizeLimit::none(),
               [&](std::ostream& out) { write_size_notice(out, mail, responder.reply_to, marks); });
    return ResponseKind::kSizeNotice;
}
