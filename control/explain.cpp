#include "control/explain.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "control/captured_output.h"
#include "control/explain_responders.h"
#include "control/failure.h"
#include "control/mail_files.h"
#include "control/parts.h"
#include "core/automatic_mail.h"
#include "core/database.h"
#include "core/diagnostics.h"
#include "core/dw_string.h"
#include "core/envelope_sender.h"
#include "core/header_fields.h"
#include "core/loop_check.h"
#include "core/only_people.h"
#include "core/run_end.h"
#include "core/size_limit.h"
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

// What the message yields; nothing if it cannot be answered at all, for a reason that is reported.
std::optional<ExplainedMessage> explain_message(const DwString& source, const DwMessage& parsed,
                                                const std::string& recipient,
                                                DwString& header_text) {
    std::optional<MessageAnalysis> analysis =
        analyse_message(source, recipient.c_str(), &header_text);
    if (!analysis) {
        report(kAbnormalExit);
        return std::nullopt;
    }
    ExplainedMessage message{
        .analysis = std::move(*analysis), .text_type = type_of(parsed), .parts = parts_of(parsed)};
    if (message.analysis.text_source == MessageText::Source::kPart) {
        message.text_type = message.parts.at(message.analysis.text_part).type;
    }
    return message;
}

// Whether the message alone, without the panel, says that it is not answered.
bool is_refused(Explanation& explanation, const HeaderFields& header) {
    const Mail_content& mail = explanation.message->analysis.content;
    if (const char* loop = loop_reason(mail)) {
        report(loop);
        explanation.loop = loop;
        explanation.reason = std::string("it would make a loop: ") + loop;
        return true;
    }
    if (!explanation.only_people) {
        return false;
    }
    const auto rule = machine_reason(mail, envelope_sender(header), header);
    if (rule) {
        report_not_answered(*rule);
        explanation.not_a_person = *rule;
        explanation.reason = "only people are answered: " + *rule;
    }
    return rule.has_value();
}

void explain_mailbox(Explanation& explanation, const MessageAtHand& message, MailFiles& files) {
    const Mail_content& mail = explanation.message->analysis.content;
    EscapedAddress recipient = escape_recipient(mail);
    const tolva::db::ConnectionHandle connection = connect_for_reading();
    adapt_to_session(recipient, connection.get(), mail);
    explanation.mailbox = find_mailbox(connection.get(), recipient);
    if (!explanation.mailbox) {
        report(mailbox_not_found(mail).reason());
        explanation.reason = "there is no mailbox " + on_one_line(mail.to);
        return;
    }
    explain_responders(explanation, message, connection.get(), recipient, files);
    conclude(explanation);
}

// Follows the autoresponder as far as it goes.
void follow(Explanation& explanation, const DwString& source, MailFiles& files,
            const CapturedOutput& captured) {
    const std::unique_ptr<DwMessage> message = parsed(source);
    DwString header_text;
    explanation.message = explain_message(source, *message, explanation.recipient, header_text);
    if (!explanation.message) {
        explanation.reason = without_prefix(first_line(captured.errors()));
        return;
    }
    const HeaderFields header(to_view(header_text));
    if (!is_refused(explanation, header)) {
        explain_mailbox(explanation,
                        {source, *message, explanation.only_people ? &header : nullptr}, files);
    }
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
        follow(explanation, message, files, captured);
    } catch (const Failure&) {
        throw;
    } catch (const EndOfRun&) {
        report_end_of_run();
        cannot_tell(first_line(captured.errors()));
    } catch (const std::bad_alloc&) {
        report_end_of_run();
        cannot_tell("Program failed due to exhausted memory");
    } catch (const std::exception& error) {
        report_end_of_run();
        explanation.reason = std::string("it cannot be processed: ") + error.what();
    }
    explanation.diagnostics = captured.errors();
    return explanation;
}
