#include "core/responder.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

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
#include "core/only_people.h"
#include "core/personal_mail.h"
#include "core/reply_marks.h"
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
        throw mailbox_not_found(mail);
    }
    return std::move(*mailbox);
}

// The responders of the mailbox that apply to the message, in the server's order.
std::vector<ResponderRow> applying_responders(MYSQL* connection, const Mailbox& mailbox,
                                              const Mail_content& mail) {
    std::vector<ResponderRow> responders;
    QueryResult rows = select_responders(connection, mailbox.id);
    while (rows.fetch()) {
        ResponderRow responder = read_responder_row(rows);
        if (applies_to(responder, mail)) {
            responders.push_back(std::move(responder));
        }
    }
    return responders;
}

// What an answer needs from the database.
struct Answer {
    Attachments attachments;
    std::optional<MissingFileNotice> notice;
};

Answer prepare_answer(MYSQL* connection, const EscapedAddress& recipient,
                      const AttachmentRepository& repository, const ResponderRow& responder) {
    Answer answer;
    answer.attachments = find_attachments(connection, responder.id, repository);
    if (!answer.attachments.missing.empty()) {
        answer.notice = prepare_missing_file_notice(connection, recipient, responder,
                                                    answer.attachments.missing);
    }
    return answer;
}

}  // namespace

int db_mail_act(Mail_content* mail) {
    return db_mail_act(mail, nullptr);
}

int db_mail_act(Mail_content* mail, const HeaderFields* header) {
    EscapedAddress recipient = escape_recipient(*mail);
    tolva::db::ConnectionHandle connection = connect_or_end_run();
    adapt_to_session(recipient, connection.get(), *mail);
    const Mailbox mailbox = mailbox_of_recipient(connection.get(), recipient, *mail);
    const AttachmentRepository repository(mailbox);

    std::vector<ResponderRow> responders = applying_responders(connection.get(), mailbox, *mail);
    if (header != nullptr && !responders.empty()) {
        if (const auto reason = impersonal_reason(connection.get(), *mail, mailbox, *header)) {
            report_not_answered(*reason);
            return 0;
        }
    }
    const ReplyMarks marks = header != nullptr ? ReplyMarks(*header) : ReplyMarks();
    for (ResponderRow& responder : responders) {
        if (can_response_freq(connection.get(), mail, responder.id, responder.ans_freq,
                              responder.mem_limit) == 0) {
            continue;
        }
        make_header_values_safe(responder);
        forward(connection.get(), mail, responder.id);
        // Every answer takes the next boundary of the run, whether or not it attaches anything.
        const std::string boundary = makeBoundaryStr();
        const ResponseFile file;
        const Answer answer = prepare_answer(connection.get(), recipient, repository, responder);
        if (&responder == &responders.back()) {
            connection.reset();  // others may be waiting for it while the mail program runs
        }
        if (answer.notice) {
            send_missing_file_notice(*answer.notice, *mail);
        }
        send_response(file, *mail, responder, {repository, answer.attachments.present, boundary},
                      marks);
    }
    return 0;
}
