#include "core/missing_file_notice.h"

#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "core/mailbox.h"
#include "core/responder_row.h"
#include "support/db_params.h"

namespace {

// The hosting client that owns a domain.
struct Client {
    std::string email;
    std::string shown_name;
};

std::optional<Client> find_client(MYSQL* connection, const std::string& escaped_domain) {
    QueryResult rows = send_statement(connection,
                                      "select c.email, c.pname, c.login from clients c, domains d"
                                      " where d.cl_id=c.id and d.name='" +
                                          escaped_domain + "'");
    if (!rows.answered()) {
        report("Unable to define client email and personal name :", rows.reason());
        return std::nullopt;
    }
    if (!rows.fetch()) {
        report("This client does not exist :", mysql_error(connection));
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
std::string panel_setting(MYSQL* connection, const char* name) {
    const char* value = get_param(name, connection);
    return value != nullptr ? value : "";
}

std::string notice_sender(MYSQL* connection) {
    std::string admin_email = panel_setting(connection, "admin_email");
    if (!admin_email.empty()) {
        return admin_email;
    }
    const std::string host_name = panel_setting(connection, "FullHostName");
    return "root@" + (host_name.empty() ? "localhost" : host_name);
}

void report_failure(const SubmissionFailure& failure) {
    switch (failure.step) {
        case SubmissionFailure::Step::kPipe:
            report(
                "autoresponder: Failed to create pipe to sendmail to notify about missing "
                "attachment files: ",
                error_text(failure.error));
            break;
        case SubmissionFailure::Step::kStart:
            report(
                "autoresponder: Failed to spawn sendmail to notify about missing attachment "
                "files: ",
                error_text(failure.error));
            break;
        case SubmissionFailure::Step::kWrite:
            report("Unable to send mail with notify of not exist attachment.");
            break;
    }
}

}  // namespace

std::optional<MissingFileNotice> prepare_missing_file_notice(MYSQL* connection,
                                                             const EscapedAddress& recipient,
                                                             const ResponderRow& responder,
                                                             const std::string& missing) {
    const std::optional<Client> client = find_client(connection, recipient.domain);
    if (!client) {
        return std::nullopt;
    }
    if (const char* objection = recipient_objection(client->email)) {
        report("autoresponder: No notice about missing attachment files to '",
               on_one_line(client->email), "': ", objection);
        return std::nullopt;
    }
    return MissingFileNotice{.sender = notice_sender(connection),
                             .recipient = client->email,
                             .client_name = client->shown_name,
                             .reply_to = responder.reply_to,
                             .missing = missing};
}

void write_missing_file_notice(std::ostream& out, const MissingFileNotice& notice,
                               const Mail_content& mail) {
    if (!notice.reply_to.empty()) {
        // No line end, so the text runs on into the From: line: the notice keeps these very bytes.
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
        << "for the mailname '" << mail.to_mailname << "' on domain '" << mail.to_domain << "':\n"
        << notice.missing << "\n";
}

void send_missing_file_notice(const MissingFileNotice& notice, const Mail_content& mail) {
    const auto failure = submit_text(notice.sender, notice.recipient, [&](std::ostream& out) {
        write_missing_file_notice(out, notice, mail);
    });
    if (failure) {
        report_failure(*failure);
    }
}
