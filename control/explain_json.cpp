// SPDX-License-Identifier: Apache-2.0

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "control/explanation.h"
#include "control/words.h"

namespace autoresponder::control {

namespace {

using Json = nlohmann::ordered_json;

Json or_null(const std::string& text) {
    return text.empty() ? Json() : Json(text);
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

Json message_of(const Explanation& explanation) {
    const MessageAnalysis& message = *explanation.story.message;
    const Mail_content& mail = message.content;
    Json parts = Json::array();
    for (const ExplainedPart& part : explanation.parts) {
        parts.push_back({{"type", or_null(part.type)}, {"multipart", part.is_multipart}});
    }
    Json text = {
        {"source", word_of(message.text_source)},
        {"part", Json()},
        {"type", or_null(explanation.text_type)},
        {"charset", mail.charset},
        {"first_lines", is_taken(message.text_source) ? lines_of(mail.body_lines) : Json::array()}};
    if (message.text_source == MessageText::Source::kPart) {
        text["part"] = message.text_part + 1;
    }
    return {{"sender", mail.from},     {"sender_field", word_of(message.sender_field)},
            {"subject", mail.subject}, {"date", or_null(mail.date)},
            {"text", std::move(text)}, {"parts", std::move(parts)}};
}

Json limit_of(const ResponderStory& responder) {
    const std::optional<FrequencyRecord>& record = responder.limit.record;
    if (!record) {
        return {};
    }
    return {{"replies_today", record->replies ? record->replies->value : 0},
            {"replies_allowed", responder.row.ans_freq.value},
            {"senders_remembered", record->senders.value},
            {"senders_allowed", responder.row.mem_limit.value},
            {"evicts", responder.limit.evicts}};
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

Json responder_of(const ResponderStory& story, const ExplainedResponder& explained) {
    return {{"id", story.row.id},
            {"verdict", word_of(story.verdict)},
            {"reason", or_null(story.reason)},
            {"on", story.row.on},
            {"condition",
             {{"where", word_of(story.row.key_place)},
              {"key", story.row.key},
              {"holds", explained.key_occurs},
              {"near_miss", or_null(explained.near_miss)}}},
            {"limit", limit_of(story)},
            {"forwards", story.forwards},
            {"attachments", attachments_of(explained)},
            {"reply", reply_of(explained)}};
}

Json mail_of(const ExplainedMail& mail) {
    return {{"kind", word_of(mail.kind)}, {"responder", mail.responder},
            {"sender", mail.sender},      {"recipients", mail.recipients},
            {"size", mail.size},          {"file", or_null(mail.file)}};
}

Json mailbox_of(const std::optional<Mailbox>& mailbox) {
    if (!mailbox) {
        return {};
    }
    return {{"id", mailbox->id},
            {"address", mailbox->name + "@" + mailbox->domain},
            {"found_by", word_of(mailbox->found_by)}};
}

}  // namespace

std::string to_json(const Explanation& explanation) {
    const Story& story = explanation.story;
    Json json = {{"recipient", *story.recipient},
                 {"verdict", word_of(explanation.answer)},
                 {"reason", or_null(explanation.reason)},
                 {"empty", explanation.empty},
                 {"message", story.message ? message_of(explanation) : Json()},
                 {"loop", or_null(story.loop)},
                 {"only_people", explanation.audience == Audience::kOnlyPeople},
                 {"not_a_person", or_null(story.not_a_person)},
                 {"mailbox", mailbox_of(story.mailbox)},
                 {"size_limit", explanation.size_limit ? Json(*explanation.size_limit) : Json()},
                 {"responders", Json::array()},
                 {"mails", Json::array()},
                 {"diagnostics", explanation.diagnostics}};
    for (std::size_t i = 0; i < story.responders.size(); ++i) {
        json["responders"].push_back(responder_of(story.responders[i], explanation.responders[i]));
    }
    for (const ExplainedMail& mail : explanation.mails) {
        json["mails"].push_back(mail_of(mail));
    }
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace autoresponder::control
