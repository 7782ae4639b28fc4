#include "control/explain_text.h"

#include <algorithm>
#include <string_view>

#include "control/terminal.h"
#include "control/words.h"

namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kShownWidth = 100;

Colour colour_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::kWouldAnswer:
            return Colour::kGood;
        case Verdict::kWouldNotAnswer:
            return Colour::kBad;
        case Verdict::kCannotTell:
            break;
    }
    return Colour::kUnsure;
}

// The beginning of a printable text, without half a character at its end.
std::string cut(const std::string& text) {
    if (text.size() <= kShownWidth) {
        return text;
    }
    std::size_t end = kShownWidth;
    while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) {
        --end;
    }
    return text.substr(0, end) + "...";
}

std::string heading(const std::string& text) {
    return coloured(text, Colour::kStrong) + "\n";
}

std::string line(const std::string& label, const std::string& text) {
    const std::size_t pad = kLabelWidth - std::min(kLabelWidth - 1, label.size());
    return "  " + label + std::string(pad, ' ') + text + "\n";
}

std::string part_named(const ExplainedMessage& message, std::size_t number) {
    return "part " + std::to_string(number + 1) + " of " + std::to_string(message.parts.size());
}

// Which part of the message the text was taken from.
std::string origin_of(const ExplainedMessage& message) {
    const std::string type =
        message.text_type.empty() ? "without a Content-Type" : printable(message.text_type);
    switch (message.analysis.text_source) {
        case MessageText::Source::kMessage:
            return "the message itself, " + type;
        case MessageText::Source::kPart:
            return part_named(message, message.analysis.text_part) + ", " + type;
        case MessageText::Source::kNoPart:
            return "none: no direct part of the " + type + " says it is a text";
        case MessageText::Source::kOtherType:
            break;
    }
    return "none: the message is " + type;
}

bool is_html(const ExplainedMessage& message) {
    std::string type = message.text_type;
    std::ranges::transform(type, type.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return is_taken(message.analysis.text_source) && type.starts_with("text/html");
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

std::string text_of(const ExplainedMessage& message) {
    const Mail_content& mail = message.analysis.content;
    std::string text = line("text", origin_of(message));
    for (const ExplainedPart& part : message.parts) {
        if (part.is_multipart) {
            text += line("", "a " + printable(part.type) + " within it is not searched");
        }
    }
    if (!is_taken(message.analysis.text_source)) {
        return text;
    }
    if (is_html(message)) {
        text += line("", "key words are looked for in its HTML source");
    }
    return text + line("charset", printable(mail.charset)) + first_lines(mail.body_lines);
}

std::string message_of(const Explanation& explanation) {
    std::string text = heading("The message to " + printable(explanation.recipient));
    if (explanation.empty) {
        return text + line("", "the message is empty");
    }
    if (!explanation.message) {
        return text;
    }
    const Mail_content& mail = explanation.message->analysis.content;
    return text +
           line("sender", printable(mail.from) + ", from " +
                              word_of(explanation.message->analysis.sender_field) + ":") +
           line("subject", cut(printable(mail.subject))) + line("date", printable(mail.date)) +
           text_of(*explanation.message);
}

std::string condition_of(const ExplainedResponder& responder) {
    const ExplainedCondition& condition = responder.condition;
    if (condition.place == KeyPlace::kEverything) {
        return "none, it answers everything";
    }
    std::string text = "\"" + cut(printable(responder.row.keystr)) + "\" in the " +
                       word_of(condition.place) + (condition.holds ? ": found" : ": not found");
    if (!condition.near_miss.empty()) {
        text += "; " + printable(condition.near_miss);
    }
    return text;
}

std::string limit_of(const ExplainedResponder& responder) {
    if (!responder.limit) {
        return "";
    }
    const ExplainedLimit& limit = *responder.limit;
    std::string text =
        line("today", printable(limit.replies_today) + " of " + printable(responder.row.ans_freq) +
                          " replies to this sender");
    text += line("", printable(limit.senders) + " of " + printable(responder.row.mem_limit) +
                         " senders remembered" +
                         (limit.evicts ? "; the oldest are forgotten for this one" : ""));
    return text;
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

std::string responder_of(const ExplainedResponder& responder, const std::optional<int>& limit) {
    std::string text = coloured("Responder " + responder.row.id + ": ", Colour::kStrong) +
                       coloured(word_of(responder.verdict), colour_of(responder.verdict)) +
                       (responder.reason.empty() ? "" : ", " + printable(responder.reason)) + "\n";
    text += line("is", is_on(responder.row) ? "on" : "off");
    text += line("condition", condition_of(responder));
    text += limit_of(responder);
    for (const std::string& address : responder.forwards) {
        text +=
            line(&address == &responder.forwards.front() ? "forwards to" : "", printable(address));
    }
    return text + attachments_of(responder) + reply_of(responder, limit);
}

std::string answers_of(const Explanation& explanation) {
    if (!explanation.only_people) {
        return "";
    }
    return line("answers", explanation.not_a_person.empty()
                               ? "only people; the sender counts as one"
                               : "only people: " + printable(explanation.not_a_person));
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
    std::string text = message_of(explanation);
    if (explanation.message) {
        text += line("loop", explanation.loop.empty() ? "none" : explanation.loop);
        text += answers_of(explanation);
    }
    if (explanation.mailbox) {
        text += heading("The mailbox " + printable(explanation.mailbox->name) + "@" +
                        printable(explanation.mailbox->domain));
        text += line("found by", word_of(explanation.mailbox->found_by));
    }
    for (const ExplainedResponder& responder : explanation.responders) {
        text += responder_of(responder, explanation.size_limit);
    }
    text += mails_of(explanation) + diagnostics_of(explanation);
    const std::string verdict =
        std::string(word_of(explanation.verdict)) + ": " + printable(explanation.reason);
    return text + coloured("Verdict: " + verdict, colour_of(explanation.verdict)) + "\n";
}
