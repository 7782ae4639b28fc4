// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "control/explanation.h"
#include "control/terminal.h"
#include "control/words.h"
#include "encoding/utf8.h"
#include "support/ascii.h"

namespace autoresponder::control {

namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kShownWidth = 100;

// In the order of the answers, and of the verdicts.
constexpr std::array kAnswerColours = {Colour::kGood, Colour::kBad, Colour::kUnsure};
constexpr std::array kVerdictColours = {Colour::kUnsure, Colour::kBad, Colour::kGood};

// The beginning of a printable text.
std::string cut(const std::string& text) {
    return text.size() <= kShownWidth
               ? text
               : std::string(tolva::utf8_prefix(text, kShownWidth)).append("...");
}

std::string heading(const std::string& text) {
    return coloured(text, Colour::kStrong) + "\n";
}

std::string line(const std::string& label, const std::string& text) {
    const std::size_t pad = kLabelWidth - std::min(kLabelWidth - 1, label.size());
    return "  " + label + std::string(pad, ' ') + text + "\n";
}

// Which part of the message the text was taken from.
std::string origin_of(const Explanation& explanation) {
    const std::string type =
        explanation.text_type.empty() ? "without a Content-Type" : printable(explanation.text_type);
    const MessageAnalysis& message = *explanation.story.message;
    switch (message.text_source) {
        case MessageText::Source::kMessage:
            return "the message itself, " + type;
        case MessageText::Source::kPart:
            return "part " + std::to_string(message.text_part + 1) + " of " +
                   std::to_string(explanation.parts.size()) + ", " + type;
        case MessageText::Source::kNoPart:
            return "none: no direct part of the " + type + " says it is a text";
        case MessageText::Source::kOtherType:
            break;
    }
    return "none: the message is " + type;
}

// The text without the empty lines at its end.
std::string_view without_last_empty_lines(std::string_view text) {
    const std::size_t last = text.find_last_not_of("\r\n");
    return last == std::string_view::npos ? "" : text.substr(0, text.find('\n', last));
}

std::string first_lines(const BodyLines& lines) {
    const std::string_view all = without_last_empty_lines(lines.text());
    if (all.empty()) {
        return "";
    }
    std::string text;
    std::size_t shown = 0;
    for (BodyLines::Iterator body_line(all); body_line != BodyLines::end(); ++body_line) {
        if (shown++ == kShownLines) {
            return text + line("", "| ...");
        }
        text += line("", "| " + cut(printable(*body_line)));
    }
    return text;
}

std::string text_of(const Explanation& explanation) {
    const MessageAnalysis& message = *explanation.story.message;
    std::string text = line("text", origin_of(explanation));
    for (const ExplainedPart& part : explanation.parts) {
        if (part.is_multipart) {
            text += line("", "a " + printable(part.type) + " within it is not searched");
        }
    }
    if (!is_taken(message.text_source)) {
        return text;
    }
    if (tolva::lowered(explanation.text_type).starts_with("text/html")) {
        text += line("", "key words are looked for in its HTML source");
    }
    return text + line("charset", printable(message.content.charset)) +
           first_lines(message.content.body_lines);
}

std::string message_of(const Explanation& explanation) {
    const Story& story = explanation.story;
    std::string text = heading("The message to " + printable(*story.recipient));
    if (explanation.empty) {
        return text + line("", "the message is empty");
    }
    if (!story.message) {
        return text;
    }
    const Mail_content& mail = story.message->content;
    return text +
           line("sender",
                printable(mail.from) + ", from " + word_of(story.message->sender_field) + ":") +
           line("subject", cut(printable(mail.subject))) + line("date", printable(mail.date)) +
           text_of(explanation);
}

std::string condition_of(const ResponderRow& row, const ExplainedResponder& explained) {
    if (row.key_place == KeyPlace::kNoKey) {
        return "none, it answers everything";
    }
    std::string text = "\"" + cut(printable(row.key)) + "\" in the " + word_of(row.key_place) +
                       (explained.key_occurs ? ": found" : ": not found");
    if (!explained.near_miss.empty()) {
        text += "; " + printable(explained.near_miss);
    }
    return text;
}

std::string limit_of(const ResponderStory& responder) {
    const std::optional<FrequencyRecord>& record = responder.limit.record;
    if (!record) {
        return "";
    }
    return line("today", printable(record->replies ? record->replies->text : "0") + " of " +
                             printable(responder.row.ans_freq.text) + " replies to this sender") +
           line("", printable(record->senders.text) + " of " +
                        printable(responder.row.mem_limit.text) + " senders remembered" +
                        (responder.limit.evicts ? "; the oldest are forgotten for this one" : ""));
}

std::string attachments_of(const ExplainedResponder& responder) {
    std::string text;
    for (const ExplainedAttachment& attachment : responder.attachments) {
        text += line(text.empty() ? "attaches" : "",
                     printable(attachment.name) + ": " + word_of(attachment.state) +
                         (attachment.reason.empty() ? "" : ", ") + attachment.reason);
    }
    return text;
}

std::string size_of(const ExplainedReply& reply, const std::optional<int>& limit) {
    const std::string bytes = " of at most " + std::to_string(limit.value_or(0)) + " bytes";
    if (reply.too_large) {
        return "too large: more than " + std::to_string(limit.value_or(0)) +
               " bytes, a notice goes out in its place";
    }
    return std::to_string(reply.size) + (limit ? bytes : " bytes");
}

std::string reply_of(const ExplainedResponder& responder, const std::optional<int>& limit) {
    if (!responder.reply) {
        return "";
    }
    return line("subject", cut(printable(responder.reply->subject))) +
           line("text", printable(responder.reply->content_type) + " in " +
                            printable(responder.reply->charset)) +
           line("size", size_of(*responder.reply, limit));
}

std::string responder_of(const ResponderStory& story, const ExplainedResponder& explained,
                         const std::optional<int>& limit) {
    std::string text = coloured("Responder " + story.row.id + ": ", Colour::kStrong) +
                       coloured(word_of(story.verdict),
                                kVerdictColours.at(static_cast<std::size_t>(story.verdict))) +
                       (story.reason.empty() ? "" : ", " + printable(story.reason)) + "\n";
    text += line("is", story.row.on ? "on" : "off");
    text += line("condition", condition_of(story.row, explained));
    text += limit_of(story);
    for (const std::string& address : story.forwards) {
        text += line(&address == &story.forwards.front() ? "forwards to" : "", printable(address));
    }
    return text + attachments_of(explained) + reply_of(explained, limit);
}

std::string answers_of(const Explanation& explanation) {
    if (explanation.audience != Audience::kOnlyPeople) {
        return "";
    }
    const std::string& rule = explanation.story.not_a_person;
    return line("answers", rule.empty() ? "only people; the sender counts as one"
                                        : "only people: " + printable(rule));
}

std::string mails_of(const Explanation& explanation) {
    std::string text;
    for (const ExplainedMail& mail : explanation.mails) {
        std::string recipients;
        for (const std::string& recipient : mail.recipients) {
            recipients += " " + printable(recipient);
        }
        text += line(word_of(mail.kind), printable(mail.sender) + " to" + recipients + ", " +
                                             std::to_string(mail.size) + " bytes" +
                                             (mail.file.empty() ? "" : ", in " + mail.file));
    }
    return text.empty() ? "" : heading("Mail handed over") + text;
}

std::string diagnostics_of(const Explanation& explanation) {
    if (explanation.diagnostics.empty()) {
        return "";
    }
    std::string text = heading("The autoresponder would log");
    const BodyLines lines(
        explanation.diagnostics.ends_with('\n')
            ? explanation.diagnostics.substr(0, explanation.diagnostics.size() - 1)
            : explanation.diagnostics);
    for (const std::string_view said : lines) {
        text += "  " + printable(said) + "\n";
    }
    return text;
}

}  // namespace

std::string to_text(const Explanation& explanation) {
    const Story& story = explanation.story;
    std::string text = message_of(explanation);
    if (story.message) {
        text += line("loop", story.loop.empty() ? "none" : story.loop);
        text += answers_of(explanation);
    }
    if (story.mailbox) {
        text += heading("The mailbox " + printable(story.mailbox->name) + "@" +
                        printable(story.mailbox->domain));
        text += line("found by", word_of(story.mailbox->found_by));
    }
    for (std::size_t i = 0; i < story.responders.size(); ++i) {
        text +=
            responder_of(story.responders[i], explanation.responders[i], explanation.size_limit);
    }
    text += mails_of(explanation) + diagnostics_of(explanation);
    const std::string verdict =
        std::string(word_of(explanation.answer)) + ": " + printable(explanation.reason);
    return text +
           coloured("Verdict: " + verdict,
                    kAnswerColours.at(static_cast<std::size_t>(explanation.answer))) +
           "\n";
}

}  // namespace autoresponder::control
