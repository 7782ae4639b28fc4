#include "core/responder.h"

#include <optional>
#include <string>
#include <utility>

#include "core/attachment_repository.h"
#include "core/attachments.h"
#include "core/boundary.h"
#include "core/database.h"
#include "core/delivery.h"
#include "core/diagnostics.h"
#include "core/forward.h"
#include "core/mail_content.h"
#include "core/mailbox.h"
#include "core/missing_file_notice.h"
#include "core/responder_row.h"
#include "core/response.h"
#include "core/response_file.h"
#include "core/response_freq.h"
#include "core/run_end.h"

namespace {

Mailbox mailbox_of_recipient(MYSQL* connection, const EscapedAddress& recipient,
                             const Mail_content& mail) {
    std::optional<Mailbox> mailbox = find_mailbox(connection, recipient);
    if (!mailbox) {
        throw EndOfRun("autoresponder: Mailname not found: " + mail.to_mailname + "@" +
                       mail.to_domain);
    }
    return std::move(*mailbox);
}

void tell_owner_of_missing_files(MYSQL* connection, const Mail_content& mail,
                                 const EscapedAddress& recipient, const ResponderRow& responder,
                                 const std::string& missing) {
    const auto notice = prepare_missing_file_notice(connection, recipient, responder, missing);
    if (notice) {
        send_missing_file_notice(*notice, mail);
    }
}

void answer(MYSQL* connection, const Mail_content& mail, const EscapedAddress& recipient,
            const AttachmentRepository& repository, const ResponderRow& responder) {
    // Every answer takes the next boundary of the run, whether or not it attaches anything.
    const std::string boundary = makeBoundaryStr();
    const ResponseFile file;
    const Attachments attachments = find_attachments(connection, responder.id, repository);
    if (!attachments.missing.empty()) {
        tell_owner_of_missing_files(connection, mail, recipient, responder, attachments.missing);
    }
    send_response(file, mail, responder, {repository, attachments.present, boundary});
}

void leave_out_control_characters(ResponderRow& responder) {
    for (const std::string& change : make_header_values_safe(responder)) {
        report("autoresponder: Responder ", responder.id, ": ", change);
    }
}

}  // namespace

int db_mail_act(Mail_content* mail) {
    EscapedAddress recipient = escape_recipient(*mail);
    const tolva::db::ConnectionHandle connection = connect_or_end_run();
    adapt_to_session(recipient, connection.get(), *mail);
    const Mailbox mailbox = mailbox_of_recipient(connection.get(), recipient, *mail);
    const AttachmentRepository repository(mailbox);

    QueryResult rows = select_responders(connection.get(), mailbox.id);
    while (rows.fetch()) {
        ResponderRow responder = read_responder_row(rows);
        if (applies_to(responder, *mail) &&
            can_response_freq(connection.get(), mail, responder.id, responder.ans_freq,
                              responder.mem_limit) != 0) {
            leave_out_control_characters(responder);
            forward(connection.get(), mail, responder.id);
            answer(connection.get(), *mail, recipient, repository, responder);
        }
    }
    return 0;
}
