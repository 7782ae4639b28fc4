// SPDX-License-Identifier: Apache-2.0

#include "core/reply/size_limit.h"

#include <cstdlib>
#include <fstream>

#include "core/message/mail_content.h"
#include "core/reply/auto_submitted.h"
#include "core/reply/reply.h"
#include "core/reply/reply_file.h"
#include "encoding/rfc1522.h"

namespace autoresponder {

SizeLimit SizeLimit::of_mail_system() {
    std::ifstream control(kFile);
    std::string bytes;
    control >> bytes;
    return SizeLimit(std::atoi(bytes.c_str()));
}

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

ReplyKind compose_reply(const ReplyFile& file, const Mail_content& mail,
                        const ReplySource& source) {
    const auto written = file.write(SizeLimit::of_mail_system(),
                                    [&](std::ostream& out) { write_reply(out, mail, source); });
    if (written == ReplyFile::Written::kWhole) {
        return ReplyKind::kReply;
    }
    file.write(SizeLimit::none(), [&](std::ostream& out) {
        write_size_notice(out, mail, source.header.reply_to, source.marks);
    });
    return ReplyKind::kSizeNotice;
}

}  // namespace autoresponder
