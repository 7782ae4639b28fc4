#include "control/explain_responders.h"

#include <sys/mman.h>

#include <algorithm>
#include <utility>

#include "control/frequency.h"
#include "control/mail_files.h"
#include "control/near_miss.h"
#include "core/attachment_repository.h"
#include "core/attachments.h"
#include "core/automatic_mail.h"
#include "core/boundary.h"
#include "core/database.h"
#include "core/delivery.h"
#include "core/diagnostics.h"
#include "core/dw_string.h"
#include "core/forward.h"
#include "core/missing_file_notice.h"
#include "core/only_people.h"
#include "core/personal_mail.h"
#include "core/reply_marks.h"
#include "core/response.h"
#include "core/response_file.h"
#include "core/response_subject.h"
#include "core/response_text.h"
#include "core/too_large_reply.h"

namespace {

ExplainedCondition explain_condition(const ResponderRow& row, const Mail_content& mail,
                                     const DwMessage& message) {
    ExplainedCondition condition;
    if (row.key_where == "subj") {
        condition.place = KeyPlace::kSubject;
    } else if (row.key_where == "body") {
        condition.place = KeyPlace::kText;
    }
    condition.holds = key_matches(row, mail);
    if (!condition.holds) {
        condition.near_miss = near_miss(row, mail, message);
    }
    return condition;
}

std::string why_not_found(const ExplainedResponder& responder) {
    const char* place = responder.condition.place == KeyPlace::kSubject ? "subject" : "text";
    std::string reason = std::string("its key word is not in the ") + place;
    if (!responder.condition.near_miss.empty()) {
        reason += ": " + responder.condition.near_miss;
    }
    return reason;
}

// Explains one responder after the other; the order of everything is that of the autoresponder.
class ResponderExplainer {
  public:
    ResponderExplainer(Explanation& explanation, const MessageAtHand& message, MailFiles& files)
        : explanation_(explanation),
          message_(message),
          marks_(message.header != nullptr ? ReplyMarks(*message.header) : ReplyMarks()),
          mail_(explanation.message->analysis.content),
          repository_(*explanation.mailbox),
          files_(files) {}

    void explain_all(MYSQL* connection, const EscapedAddress& recipient) {
        QueryResult rows = select_responders(connection, explanation_.mailbox->id);
        while (rows.fetch()) {
            explanation_.responders.push_back({.row = read_responder_row(rows)});
        }
        judge_person(connection);
        for (ExplainedResponder& responder : explanation_.responders) {
            explain(responder, connection, recipient);
        }
    }

  private:
    // Whether the panel can tell that the message is not a person's.
    void judge_person(MYSQL* connection) {
        const bool asked =
            message_.header != nullptr &&
            std::ranges::any_of(explanation_.responders, [&](const ExplainedResponder& responder) {
                return applies_to(responder.row, mail_);
            });
        if (!asked) {
            return;
        }
        if (const auto rule =
                impersonal_reason(connection, mail_, *explanation_.mailbox, *message_.header)) {
            report_not_answered(*rule);
            explanation_.not_a_person = *rule;
        }
    }

    void explain(ExplainedResponder& responder, MYSQL* connection,
                 const EscapedAddress& recipient) {
        responder.condition = explain_condition(responder.row, mail_, message_.parsed);
        if (!is_on(responder.row)) {
            responder.reason = "it is switched off";
        } else if (!responder.condition.holds) {
            responder.reason = why_not_found(responder);
        } else if (!explanation_.not_a_person.empty()) {
            responder.reason = "only people are answered: " + explanation_.not_a_person;
        } else if (never_answers(responder.row.ans_freq)) {
            responder.reason = "it allows no replies at all: ans_freq is '" +
                               on_one_line(responder.row.ans_freq) + "'";
        } else if (is_within_limit(responder, connection)) {
            explain_answer(responder, connection, recipient);
        }
    }

    bool is_within_limit(ExplainedResponder& responder, MYSQL* connection) {
        const FrequencyRecord record = frequency_today(connection, responder.row.id, mail_.from);
        const FrequencyVerdict verdict =
            judge_frequency(record, responder.row.ans_freq, responder.row.mem_limit);
        responder.limit = {.replies_today = record.replies.value_or("0"),
                           .senders = record.senders,
                           .evicts = verdict == FrequencyVerdict::kAnswerFirstEvict};
        if (verdict == FrequencyVerdict::kLimitReached) {
            responder.reason = "the limit is reached: " + *record.replies + " of " +
                               responder.row.ans_freq + " replies to this sender today";
        }
        return verdict != FrequencyVerdict::kLimitReached;
    }

    void explain_answer(ExplainedResponder& responder, MYSQL* connection,
                        const EscapedAddress& recipient) {
        ResponderRow row = responder.row;
        make_header_values_safe(row);
        explain_forward(responder, connection);
        const std::string boundary = makeBoundaryStr();
        const Attachments attachments = find_attachments(connection, row.id, repository_);
        explain_notice(row, attachments, connection, recipient);
        explain_attachments(responder, attachments);
        explain_reply(responder, row, {repository_, attachments.present, boundary});
    }

    void explain_forward(ExplainedResponder& responder, MYSQL* connection) {
        responder.forwards = forward_addresses(connection, responder.row.id);
        if (responder.forwards.empty()) {
            return;
        }
        ExplainedMail mail{.kind = ExplainedMail::Kind::kForward,
                           .responder = responder.row.id,
                           .sender = mail_.to,
                           .recipients = responder.forwards};
        files_.add(mail, [&](std::ostream& out) { out << to_view(message_.source); });
        explanation_.mails.push_back(std::move(mail));
    }

    void explain_notice(const ResponderRow& row, const Attachments& attachments, MYSQL* connection,
                        const EscapedAddress& recipient) {
        if (attachments.missing.empty()) {
            return;
        }
        const auto notice =
            prepare_missing_file_notice(connection, recipient, row, attachments.missing);
        if (!notice) {
            return;
        }
        ExplainedMail mail{.kind = ExplainedMail::Kind::kNotice,
                           .responder = row.id,
                           .sender = notice->sender,
                           .recipients = {notice->recipient}};
        files_.add(mail,
                   [&](std::ostream& out) { write_missing_file_notice(out, *notice, mail_); });
        explanation_.mails.push_back(std::move(mail));
    }

    void explain_attachments(ExplainedResponder& responder, const Attachments& attachments) const {
        for (const std::string& name : attachments.present) {
            const int error = repository_.open(name).error;
            responder.attachments.push_back({.name = name,
                                             .state = error == 0
                                                          ? ExplainedAttachment::State::kPresent
                                                          : ExplainedAttachment::State::kUnreadable,
                                             .reason = error == 0 ? "" : error_text(error)});
        }
        for (std::size_t begin = 0; begin < attachments.missing.size();) {
            const std::size_t end = attachments.missing.find('\n', begin);
            responder.attachments.push_back({.name = attachments.missing.substr(begin, end - begin),
                                             .state = ExplainedAttachment::State::kMissing});
            begin = end + 1;
        }
    }

    void explain_reply(ExplainedResponder& responder, const ResponderRow& row,
                       const ResponseAttachments& attachments) {
        ExplainedMail mail{.responder = row.id};
        const int memory = memfd_create("reply", MFD_CLOEXEC);
        const ResponseFile file{tolva::Descriptor(memory)};
        const bool sent = sent_or_recorded([&] {
            const ResponseKind kind = compose_response(file, mail_, row, attachments, marks_);
            const Envelope envelope = response_envelope(mail_);
            mail.kind = kind == ResponseKind::kReply ? ExplainedMail::Kind::kReply
                                                     : ExplainedMail::Kind::kSizeNotice;
            mail.sender = envelope.sender;
            mail.recipients = {envelope.recipient};
        });
        if (!sent) {
            responder.reason = "its reply cannot be sent, but counts all the same";
            return;
        }
        files_.add(mail, memory);
        responder.verdict = Verdict::kWouldAnswer;
        responder.reply = {.subject = response_subject(mail_, row),
                           .charset = response_text(row).charset,
                           .content_type = row.content_type,
                           .size = mail.size,
                           .too_large = mail.kind == ExplainedMail::Kind::kSizeNotice};
        explanation_.mails.push_back(std::move(mail));
    }

    Explanation& explanation_;
    const MessageAtHand& message_;
    ReplyMarks marks_;
    const Mail_content& mail_;
    AttachmentRepository repository_;
    MailFiles& files_;
};

}  // namespace

void explain_responders(Explanation& explanation, const MessageAtHand& message, MYSQL* connection,
                        const EscapedAddress& recipient, MailFiles& files) {
    ResponderExplainer(explanation, message, files).explain_all(connection, recipient);
}
