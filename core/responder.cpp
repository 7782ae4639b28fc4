#include "core/responder.h"

#include <cerrno>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "core/attachments.h"
#include "core/boundary.h"
#include "core/database.h"
#include "core/delivery.h"
#include "core/forward.h"
#include "core/mail_content.h"
#include "core/mailbox.h"
#include "core/missing_file_notice.h"
#include "core/responder_row.h"
#include "core/response.h"
#include "core/response_file.h"
#include "core/response_freq.h"
#include "encoding/idn.h"
#include "support/log.h"

namespace {

/// Sends the reply, or records why it could not be sent. Nothing of this ends the run: the next
/// responder may fare better.
void send_response(const ResponseFile& file, const Mail_content& mail,
                   const ResponderRow& responder, const ResponseAttachments& attachments) {
    try {
        file.write([&](std::ostream& out) { write_response(out, mail, responder, attachments); });
        hold_to_size_limit(file, mail, responder.reply_to);
        submit_response(mail);
    } catch (const tolva::idn::IdnaError& error) {
        errno = 0;  // not a system error: keeps the log from naming an older one
        messlog2(1, 1, "IDN conversion error: %s", error.what());
    } catch (const std::bad_alloc&) {
        errno = 0;
        messlog2(1, 1, "Program failed due to exhausted memory");
    } catch (const std::exception& error) {
        messlog2(1, 1, "Send error: %s", error.what());
    }
}

void answer(MYSQL* connection, const Mail_content& mail, const EscapedRecipient& recipient,
            const std::string& directory, const ResponderRow& responder) {
    std::string boundary = makeBoundaryStr();
    const ResponseFile file;
    Attachments attachments = find_attachments(connection, responder.id, directory);
    if (!attachments.missing.empty()) {
        send_missing_file_notice(connection, mail, recipient.domain, responder.reply_to,
                                 attachments.missing);
    }
    send_response(file, mail, responder,
                  {std::move(boundary), directory, std::move(attachments.present)});
}

}  // namespace

int db_mail_act(Mail_content* mail) {
    const EscapedRecipient recipient = escape_recipient(*mail);
    const tolva::db::ConnectionHandle connection = connect_to_database();
    const Mailbox mailbox = resolve_mailbox(connection.get(), recipient, *mail);
    const std::string directory = attachment_directory(mailbox);

    QueryResult rows = query(connection.get(), responder_rows_of(mailbox.id));
    while (rows.fetch()) {
        const ResponderRow responder = read_responder_row(rows);
        if (applies_to(responder, *mail) &&
            can_response_freq(connection.get(), mail, responder.id, responder.ans_freq,
                              responder.mem_limit) != 0) {
            forward(connection.get(), mail, responder.id);
            answer(connection.get(), *mail, recipient, directory, responder);
        }
    }
    return 0;
}
