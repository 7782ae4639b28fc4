// SPDX-License-Identifier: Apache-2.0

#include "core/send/missing_file_notice.h"

#include <utility>

#include "core/message/mail_content.h"
#include "core/panel/database_session.h"
#include "core/panel/mailbox.h"
#include "core/run/diagnostics.h"
#include "core/send/mail_program.h"
#include "support/ascii.h"
#include "support/db_params.h"
#include "support/descriptor.h"
#include "support/pipestream.h"
#include "support/result.h"

namespace autoresponder {

namespace {

// The hosting client that owns a domain.
struct Client {
    std::string email;
    std::string shown_name;
};

std::optional<Client> find_client(Session& session, const std::string& escaped_domain) {
    QueryResult rows = session.ask(
        "select c.email, c.pname, c.login from clients c, domains d"
        " where d.cl_id=c.id and d.name='" +
        escaped_domain + "'");
    if (!rows.answered()) {
        report("Unable to define client email and personal name :", rows.reason());
        return std::nullopt;
    }
    if (!rows.fetch()) {
        report("This client does not exist :", session.error());
        return std::nullopt;
    }
    Client client{rows.text(0, ""), rows.text(1, "")};
    if (client.email.empty()) {
        return std::nullopt;
    }
    if (client.shown_name.empty()) {
        client.shown_name = rows.text(2, "");
    }
    return client;
}

// A setting of the panel; empty when it is not set or cannot be read.
std::string panel_setting(Session& session, const char* name) {
    const char* value = get_param(name, session.connection());
    return value != nullptr ? value : "";
}

std::string notice_sender(Session& session) {
    std::string admin_email = panel_setting(session, "admin_email");
    if (!admin_email.empty()) {
        return admin_email;
    }
    const std::string host_name = panel_setting(session, "FullHostName");
    return "root@" + (host_name.empty() ? "localhost" : host_name);
}

// Closes the pipe, too: the program ends when its input does.
bool write_to(tolva::Descriptor pipe, const MissingFileNotice& notice, const Mail_content& mail) {
    ofd_pipestream out(pipe.release());
    write_missing_file_notice(out, notice, mail);
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace

std::optional<MissingFileNotice> prepare_missing_file_notice(
    Session& session, const EscapedAddress& recipient, const std::string& reply_to,
    const std::vector<std::string>& missing) {
    const std::optional<Client> client = find_client(session, recipient.domain);
    if (!client) {
        return std::nullopt;
    }
    if (const char* objection = recipient_objection(client->email)) {
        report("autoresponder: No notice about missing attachment files to '",
               tolva::without_control_characters(client->email), "': ", objection);
        return std::nullopt;
    }
    return MissingFileNotice{.sender = notice_sender(session),
                             .recipient = client->email,
                             .client_name = client->shown_name,
                             .reply_to = reply_to,
                             .missing = missing};
}

void write_missing_file_notice(std::ostream& out, const MissingFileNotice& notice,
                               const Mail_content& mail) {
    if (!notice.reply_to.empty()) {
        // No newline: the text runs on into the From: line. The notice keeps these very bytes.
        out << "Reply-To: " << notice.reply_to;
    }
    out << "From: " << notice.sender << "\n"
        << "To: " << notice.recipient << "\n"
        << "CC: \n"
        << "Subject: tva notification (files missing in attachments repository). \n"
        << "Content-Type: text/plain; charset=utf-8\n"
        << "Content-Disposition: inline\n"
        << "Content-Transfer-Encoding: 8bit\n"
        << "\n"
        << "\n"
        << "Notification for tva client '" << notice.client_name << "'.\n"
        << "\n"
        << "The following files are missing in the attachment repository\n"
        << "for the mailname '" << mail.to_mailname << "' on domain '" << mail.to_domain << "':\n";
    for (const std::string& name : notice.missing) {
        out << tolva::without_control_characters(name) << "\n";
    }
    out << "\n";
}

int send_missing_file_notice(const MissingFileNotice& notice, const Mail_content& mail) {
    tolva::Result<tolva::Pipe> pipe = tolva::make_pipe();
    if (!pipe) {
        report(
            "autoresponder: Failed to create pipe to sendmail to notify about missing attachment "
            "files: ",
            error_text(pipe.error()));
        return 0;
    }
    auto program = MailProgram::start(pipe->read_end, notice.sender, notice.recipient);
    pipe->read_end.close();
    if (!program) {
        report("autoresponder: Failed to spawn sendmail to notify about missing attachment files: ",
               error_text(program.error()));
        return 0;
    }
    const bool written = write_to(std::move(pipe->write_end), notice, mail);
    const int status = program->wait();
    if (!written) {
        report("Unable to send mail with notify of not exist attachment.");
    }
    return status;
}

}  // namespace autoresponder
