#include "core/missing_file_notice.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <optional>
#include <utility>

#include "core/database.h"
#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/mail_program.h"
#include "support/db_params.h"
#include "support/descriptor.h"
#include "support/exec.h"
#include "support/pipestream.h"

namespace {

/// The hosting client that owns a domain.
struct Client {
    std::string email;
    std::string shown_name;
};

struct Notice {
    std::string sender;
    Client client;
    std::string reply_to;
    std::string missing;
};

std::optional<Client> find_client(MYSQL* connection, const std::string& escaped_domain) {
    std::optional<QueryResult> rows =
        try_query(connection,
                  "select c.email, c.pname, c.login from clients c, domains d"
                  " where d.cl_id=c.id and d.name='" +
                      escaped_domain + "'");
    if (!rows) {
        std::cerr << "Unable to define client email and personal name :" << mysql_error(connection)
                  << std::endl;
        return std::nullopt;
    }
    if (!rows->fetch()) {
        std::cerr << "This client does not exist :" << mysql_error(connection) << std::endl;
        return std::nullopt;
    }
    Client client{rows->text(0, ""), rows->text(1, "")};
    if (client.email.empty()) {
        return std::nullopt;
    }
    if (client.shown_name.empty()) {
        client.shown_name = rows->text(2, "");
    }
    return client;
}

/// A setting of the panel; empty when it is not set or cannot be read.
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

void write_notice(std::ostream& out, const Notice& notice, const Mail_content& mail) {
    if (!notice.reply_to.empty()) {
        // No line end: the text runs on into the From: line. The notice keeps these very bytes, so
        // this is not to be mended.
        out << "Reply-To: " << notice.reply_to;
    }
    out << "From: " << notice.sender << "\n"
        << "To: " << notice.client.email << "\n"
        << "CC: \n"
        << "Subject: tva notification (files missing in attachments repository). \n"
        << "Content-Type: text/plain; charset=utf-8\n"
        << "Content-Disposition: inline\n"
        << "Content-Transfer-Encoding: 8bit\n"
        << "\n"
        << "\n"
        << "Notification for tva client '" << notice.client.shown_name << "'.\n"
        << "\n"
        << "The following files are missing in the attachment repository\n"
        << "for the mailname '" << mail.to_mailname << "' on domain '" << mail.to_domain << "':\n"
        << notice.missing << "\n";
}

/// Writes the notice into the pipe and closes it, which ends the mail program's input.
void feed_notice(tolva::Descriptor pipe_end, const Notice& notice, const Mail_content& mail) {
    ofd_pipestream out(pipe_end.release());
    if (out) {
        write_notice(out, notice, mail);
    } else {
        std::cerr << "Unable to send mail with notify of not exist attachment." << std::endl;
    }
}

void submit_notice(const Notice& notice, const Mail_content& mail) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        std::cerr << "autoresponder: Failed to create pipe to sendmail to notify about missing "
                     "attachment files: "
                  << error_text(errno) << std::endl;
        return;
    }
    tolva::Descriptor read_end(ends[0]);
    tolva::Descriptor write_end(ends[1]);
    const pid_t pid = fork_execl_pipes(read_end.get(), fileno(stdout), fileno(stderr), kMailProgram,
                                       kMailProgram, "-f", notice.sender.c_str(),
                                       notice.client.email.c_str(), static_cast<char*>(nullptr));
    read_end.close();
    if (pid < 0) {
        std::cerr << "autoresponder: Failed to spawn sendmail to notify about missing attachment "
                     "files: "
                  << error_text(errno) << std::endl;
        return;
    }
    feed_notice(std::move(write_end), notice, mail);
    wait_for_mail_program(pid);
}

}  // namespace

void send_missing_file_notice(MYSQL* connection, const Mail_content& mail,
                              const std::string& escaped_domain, const std::string& reply_to,
                              const std::string& missing) {
    const std::optional<Client> client = find_client(connection, escaped_domain);
    if (!client) {
        return;
    }
    if (const char* objection = recipient_objection(client->email)) {
        std::cerr << "autoresponder: No notice about missing attachment files to '"
                  << on_one_line(client->email) << "': " << objection << std::endl;
        return;
    }
    submit_notice({notice_sender(connection), *client, reply_to, missing}, mail);
}
