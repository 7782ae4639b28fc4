// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_analysis.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "core/message/dw_string.h"
#include "core/run/diagnostics.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"

namespace autoresponder {

namespace {

void warn_unconverted(std::string_view what, std::string_view charset) {
    report("Could not convert message ", what, " text from ", charset, " to UTF-8.");
}

void pass_in_utf8(const MessageText& text, TextSink& sink) {
    // Most texts are ASCII or UTF-8 and keep their size.
    sink.begin(text.body.length());
    try {
        tolva::iconvRecode(to_view(text.body), text.charset, "UTF-8", true,
                           [&sink](std::string_view piece) { sink.add(piece); });
    } catch (const std::runtime_error&) {
        warn_unconverted("body", text.charset);
        sink.begin(text.body.length());
        sink.add(to_view(text.body));
    }
}

// The warning names the body's charset, not the encoded word's; tools expect that.
std::string subject_in_utf8(const std::string& raw_subject, const std::string& body_charset) {
    try {
        return tolva::rfc1522::decode(raw_subject);
    } catch (const std::runtime_error&) {
        warn_unconverted("subject", body_charset);
        return {};
    }
}

// What is taken from the message as it stands, so that not all of it has to stay in memory while
// subject and text are converted.
struct MessageParts {
    MessageAnalysis analysis;
    std::string header;
    std::string raw_subject;
    MessageText text;
};

MessageParts take_apart(const DwString& input, const char* recipient, Audience audience) {
    DwInitialize();
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(input, nullptr));
    message->Parse();

    MessageParts parts;
    MessageAnalysis& analysis = parts.analysis;
    DwHeaders& headers = message->Headers();
    std::optional<Sender> sender = find_sender(headers);
    if (!sender) {
        analysis.objection = kNoSender;
        return parts;
    }
    if (recipient == nullptr) {
        analysis.objection = kNoRecipient;
        return parts;
    }
    analysis.content.from = std::move(sender->address);
    analysis.sender_field = sender->field;
    set_recipient(analysis.content, recipient);
    parts.raw_subject = headers.HasSubject() ? to_string(headers.Subject().AsString()) : "";
    analysis.content.date = headers.HasDate() ? to_string(headers.Date().AsString()) : "";
    if (audience == Audience::kOnlyPeople) {
        parts.header = to_string(headers.AsString());
    }
    parts.text = choose_text(*message);
    analysis.text_source = parts.text.source;
    analysis.text_part = parts.text.part;
    return parts;
}

}  // namespace

MessageAnalysis analyse_message(DwString text, const char* recipient, Audience audience,
                                std::string& header, TextSink& sink) {
    MessageParts parts = take_apart(take(text), recipient, audience);
    if (parts.analysis.objection == nullptr) {
        header = std::move(parts.header);
        Mail_content& content = parts.analysis.content;
        content.charset = parts.text.charset;
        pass_in_utf8(parts.text, sink);
        parts.text.body = DwString();  // mostly the whole message
        content.subject = subject_in_utf8(parts.raw_subject, content.charset);
    }
    return std::move(parts.analysis);
}

}  // namespace autoresponder
