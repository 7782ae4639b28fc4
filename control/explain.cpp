#include "control/explain.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "control/captured_output.h"
#include "control/failure.h"
#include "control/frequency.h"
#include "control/mail_files.h"
#include "control/near_miss.h"
#include "control/parts.h"
#include "core/attachment_repository.h"
#include "core/attachments.h"
#include "core/automatic_mail.h"
#include "core/boundary.h"
#include "core/database.h"
#include "core/delivery.h"
#include "core/diagnostics.h"
#include "core/dw_string.h"
#include "core/envelope_sender.h"
#include "core/forward.h"
#include "core/header_fields.h"
#include "core/loop_check.h"
#include "core/missing_file_notice.h"
#include "core/only_people.h"
#include "core/personal_mail.h"
#include "core/reply_marks.h"
#include "core/response.h"
#include "core/response_file.h"
#include "core/run_end.h"
#include "support/conf.h"

namespace {

std::unique_ptr<DwMessage> parsed(const DwString& text) {
    DwInitialize();
    std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    message->Parse();
    return message;
}

std::vector<ExplainedPart> parts_of(const DwMessage& message) {
    std::vector<ExplainedPart> parts;
    for (const DwBodyPart* part = message.Body().FirstBodyPart(); part != nullptr;
         part = part->Next()) {
        parts.push_back({.type = type_of(*part), .is_multipart = is_multipart(*part)});
    }
    return parts;
}

std::string without_prefix(const std::string& line) {
    const std::string prefix = "autoresponder: ";
    return line.starts_with(prefix) ? line.substr(prefix.size()) : line;
}

std::string first_line(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// What the autoresponder's database sessions are, but for the right to write.
tolva::db::ConnectionHandle connect_for_reading() {
    tolva::db::ConnectionHandle connection = connect_or_end_run();
    // A server that does not know it has nothing to fear: only selects are sent.
    mysql_query(connection.get(), "SET SESSION TRANSACTION READ ONLY");
    return connection;
}

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
    // `header` is that of the message where only people are answered, else null.
    ResponderExplainer(Explanation& explanation, MailFiles& files, const DwString& source,
                       const DwMessage& message, const HeaderFields* header)
        : explanation_(explanation),
          marks_(header != nullptr ? ReplyMarks(*header) : ReplyMarks()),
          header_(header),
          mail_(explanation.message->analysis.content),
          repository_(*explanation.mailbox),
          files_(files),
          source_(source),
          message_(message) {}

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
            header_ != nullptr &&
            std::ranges::any_of(explanation_.responders, [&](const ExplainedResponder& responder) {
                return applies_to(responder.row, mail_);
            });
        if (!asked) {
            return;
        }
        if (const auto rule =
                impersonal_reason(connection, mail_, *explanation_.mailbox, *header_)) {
            report_not_answered(*rule);
            explanation_.not_a_person = *rule;
        }
    }

    void explain(ExplainedResponder& responder, MYSQL* connection,
                 const EscapedAddress& recipient) {
        responder.condition = explain_condition(responder.row, mail_, message_);
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
            responder.reason = "the limit is reached: " + *record.replies +
                               " answered today, and " + responder.row.ans_freq + " allowed";
        }
        return verdict != FrequencyVerdict::kLimitReached;
    }

    void explain_answer(ExplainedResponder& responder, MYSQL* connection,
                        const EscapedAddress& recipient) {
        ResponderRow row = responder.row;
        for (const std::string& change : make_header_values_safe(row)) {
            report("autoresponder: Responder ", row.id, ": ", change);
        }
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
        files_.add(mail, [&](std::ostream& out) { out << to_view(source_); });
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
    ReplyMarks marks_;
    const HeaderFields* header_;
    const Mail_content& mail_;
    AttachmentRepository repository_;
    MailFiles& files_;
    const DwString& source_;
    const DwMessage& message_;
};

std::string verdict_of(const std::vector<ExplainedResponder>& responders) {
    if (responders.empty()) {
        return "the mailbox has no responder";
    }
    if (responders.size() == 1) {
        return "responder " + responders[0].row.id + ": " + responders[0].reason;
    }
    std::string reason = "none of the " + std::to_string(responders.size()) + " responders answers";
    for (const ExplainedResponder& responder : responders) {
        reason.append(reason.find(':') == std::string::npos ? ": " : "; ")
            .append(responder.row.id)
            .append(": ")
            .append(responder.reason);
    }
    return reason;
}

std::string answering(const std::vector<ExplainedResponder>& responders) {
    std::string ids;
    for (const ExplainedResponder& responder : responders) {
        if (responder.verdict == Verdict::kWouldAnswer) {
            ids.append(ids.empty() ? "" : ", ").append(responder.row.id);
        }
    }
    return ids;
}

void conclude(Explanation& explanation) {
    const std::string ids = answering(explanation.responders);
    if (ids.empty()) {
        explanation.reason = verdict_of(explanation.responders);
        return;
    }
    explanation.verdict = Verdict::kWouldAnswer;
    explanation.reason = (ids.find(',') == std::string::npos ? "responder " : "responders ") + ids;
}

// Follows the autoresponder as far as it goes.
void go_the_way(Explanation& explanation, const DwString& source, MailFiles& files,
                const CapturedOutput& captured) {
    const std::unique_ptr<DwMessage> message = parsed(source);
    DwString header_text;
    std::optional<MessageAnalysis> analysis =
        analyse_message(source, explanation.recipient.c_str(), &header_text);
    if (!analysis) {
        report("Abnormal exit.");
        explanation.reason = without_prefix(first_line(captured.errors()));
        return;
    }
    explanation.message = {.analysis = std::move(*analysis),
                           .text_type = type_of(*message),
                           .parts = parts_of(*message)};
    const Mail_content& mail = explanation.message->analysis.content;
    if (explanation.message->analysis.text_source == MessageText::Source::kPart) {
        explanation.message->text_type =
            explanation.message->parts.at(explanation.message->analysis.text_part).type;
    }
    if (const char* loop = loop_reason(mail)) {
        report(loop);
        explanation.loop = loop;
        explanation.reason = std::string("it would make a loop: ") + loop;
        return;
    }
    const HeaderFields header(to_view(header_text));
    if (explanation.only_people) {
        if (const auto rule = machine_reason(mail, envelope_sender(header), header)) {
            report_not_answered(*rule);
            explanation.not_a_person = *rule;
            explanation.reason = "only people are answered: " + *rule;
            return;
        }
    }
    EscapedAddress recipient = escape_recipient(mail);
    const tolva::db::ConnectionHandle connection = connect_for_reading();
    adapt_to_session(recipient, connection.get(), mail);
    explanation.mailbox = find_mailbox(connection.get(), recipient);
    if (!explanation.mailbox) {
        report("autoresponder: Mailname not found: ", mail.to_mailname, "@", mail.to_domain);
        explanation.reason = "there is no mailbox " + on_one_line(mail.to);
        return;
    }
    ResponderExplainer(explanation, files, source, *message,
                       explanation.only_people ? &header : nullptr)
        .explain_all(connection.get(), recipient);
    conclude(explanation);
}

}  // namespace

Explanation explain(const DwString& message, const std::string& recipient,
                    const std::optional<std::string>& mail_directory) {
    Explanation explanation{.recipient = recipient};
    explanation.empty = message.length() <= 1;  // the line feed that reading adds
    explanation.size_limit = SizeLimit::of_mail_system().bytes();
    explanation.only_people = autoprepend() == 0 && answers_only_people();
    MailFiles files(mail_directory);
    const CapturedOutput captured;
    const auto cannot_tell = [&](const std::string& reason) {
        explanation.verdict = Verdict::kCannotTell;
        explanation.reason = without_prefix(reason);
    };
    try {
        go_the_way(explanation, message, files, captured);
    } catch (const Failure&) {
        throw;
    } catch (const EndOfRun& end) {
        report(end.reason());
        cannot_tell(first_line(captured.errors()));
    } catch (const std::bad_alloc&) {
        report("autoresponder: Program failed due to exhausted memory");
        cannot_tell("Program failed due to exhausted memory");
    } catch (const std::exception& error) {
        report("autoresponder: Failed to process the message: ", error.what());
        explanation.reason = std::string("it cannot be processed: ") + error.what();
    }
    explanation.diagnostics = captured.errors();
    return explanation;
}
