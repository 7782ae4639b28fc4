#include "control/explain_json.h"

#include <cstdlib>

#include <nlohmann/json.hpp>

#include "control/words.h"

namespace {

using Json = nlohmann::ordered_json;

Json or_null(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

// As the autoresponder reads it.
int number(const std::string& text) {
    return std::atoi(text.c_str());
}

Json lines_of(const BodyLines& lines) {
    Json all = Json::array();
    for (const std::string_view line : lines) {
        if (all.size() == kShownLines) {
            break;
        }
        all.push_back(std::string(line));
    }
    return all;
}

Json message_of(const ExplainedMessage& message) {
    const Mail_content& mail = message.analysis.content;
    const bool taken = is_taken(message.analysis.text_source);
    Json parts = Json::array();
    for (const ExplainedPart& part : message.parts) {
        parts.push_back({{"type", or_null(part.type)}, {"multipart", part.is_multipart}});
    }
    Json text = {{"source", word_of(message.analysis.text_source)},
                 {"part", Json()},
                 {"type", or_null(message.text_type)},
                 {"charset", mail.charset},
                 {"first_lines", taken ? lines_of(mail.body_lines) : Json::array()}};
    if (message.analysis.text_source == MessageText::Source::kPart) {
        text["part"] = message.analysis.text_part + 1;
    }
    return {{"sender", mail.from},     {"sender_field", word_of(message.analysis.sender_field)},
            {"subject", mail.subject}, {"date", or_null(mail.date)},
            {"text", std::move(text)}, {"parts", std::move(parts)}};
}

Json limit_of(const ExplainedResponder& responder) {
    if (!responder.limit) {
        return {};
    }
    return {{"replies_today", number(responder.limit->replies_today)},
            {"replies_allowed", number(responder.row.ans_freq)},
            {"senders_remembered", number(responder.limit->senders)},
            {"senders_allowed", number(responder.row.mem_limit)},
            {"evicts", responder.limit->evicts}};
}

Json attachments_of(const ExplainedResponder& responder) {
    Json attachments = Json::array();
    for (const ExplainedAttachment& attachment : responder.attachments) {
        attachments.push_back({{"name", attachment.name},
                               {"state", word_of(attachment.state)},
                               {"reason", or_null(attachment.reason)}});
    }
    return attachments;
}

Json reply_of(const ExplainedResponder& responder) {
    if (!responder.reply) {
        return {};
    }
    return {{"subject", responder.reply->subject},
            {"charset", responder.reply->charset},
            {"content_type", responder.reply->content_type},
            {"size", responder.reply->size},
            {"too_large", responder.reply->too_large}};
}

Json responder_of(const ExplainedResponder& responder) {
    return {{"id", responder.row.id},
            {"verdict", word_of(responder.verdict)},
            {"reason", or_null(responder.reason)},
            {"on", is_on(responder.row)},
            {"condition",
             {{"where", word_of(responder.condition.place)},
              {"key", responder.row.keystr},
              {"holds", responder.condition.holds},
              {"near_miss", or_null(responder.condition.near_miss)}}},
            {"limit", limit_of(responder)},
            {"forwards", responder.forwards},
            {"attachments", attachments_of(responder)},
            {"reply", reply_of(responder)}};
}

Json mail_of(const ExplainedMail& mail) {
    return {{"kind", word_of(mail.kind)}, {"responder", mail.responder},
            {"sender", mail.sender},      {"recipients", mail.recipients},
            {"size", mail.size},          {"file", or_null(mail.file)}};
}

Json mailbox_of(const Explanation& explanation) {
    if (!explanation.mailbox) {
        return {};
    }
    return {{"id", explanation.mailbox->id},
            {"address", explanation.mailbox->name + "@" + explanation.mailbox->domain},
            {"found_by", word_of(explanation.mailbox->found_by)}};
}

}  // namespace

std::string to_json(const Explanation& explanation) {
    Json json = {{"recipient", explanation.recipient},
                 {"verdict", word_of(explanation.verdict)},
                 {"reason", or_null(explanation.reason)},
                 {"empty", explanation.empty},
                 {"message", explanation.message ? message_of(*explanation.message) : Json()},
                 {"loop", or_null(explanation.loop)},
                 {"only_people", explanation.only_people},
                 {"not_a_person", or_null(explanation.not_a_person)},
                 {"mailbox", mailbox_of(explanation)},
                 {"size_limit", explanation.size_limit ? Json(*explanation.size_limit) : Json()},
                 {"responders", Json::array()},
                 {"mails", Json::array()},
                 {"diagnostics", explanation.diagnostics}};
    for (const ExplainedResponder& responder : explanation.responders) {
        json["responders"].push_back(responder_of(responder));
    }
    for (const ExplainedMail& mail : explanation.mails) {
        json["mails"].push_back(mail_of(mail));
    }
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}
