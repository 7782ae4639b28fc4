#include "core/incoming_message.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "core/diagnostics.h"
#include "core/dw_string.h"
#include "core/message_copy.h"
#include "core/message_input.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"

namespace {

// What is taken from the message, so that the whole of it need not stay in memory.
struct MessageParts {
    Sender sender;
    std::string recipient;
    std::string raw_subject;
    std::string raw_date;
    MessageText text;
};

// A slice of the message would keep all of it in memory: that is left to large headers.
DwString kept_header(const DwString& header) {
    constexpr std::size_t large = 65536;
    return header.length() < large ? DwString(header.data(), header.length()) : header;
}

// Takes the message apart, and keeps its header unless `header` is null. Nothing, with the reason
// on standard error, if it cannot be answered.
std::optional<MessageParts> take_apart(const DwString& input, const char* recipient,
                                       DwString* header) {
    DwInitialize();
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(input, nullptr));
    message->Parse();

    DwHeaders& headers = message->Headers();
    std::optional<Sender> sender = find_sender(headers);
    if (!sender) {
        report("Could not get sender's e-mail address from Reply-To: or From: headers.");
        return std::nullopt;
    }
    if (recipient == nullptr) {
        report("Could not get recipient e-mail address from RESP_RECIPIENT environment variable");
        return std::nullopt;
    }
    if (header != nullptr) {
        *header = kept_header(headers.AsString());
    }
    return MessageParts{
        .sender = std::move(*sender),
        .recipient = recipient,
        .raw_subject = headers.HasSubject() ? to_string(headers.Subject().AsString()) : "",
        .raw_date = headers.HasDate() ? to_string(headers.Date().AsString()) : "",
        .text = choose_text(*message)};
}

void warn_unconverted(std::string_view what, std::string_view charset) {
    report("Could not convert message ", what, " text from ", charset, " to UTF-8.");
}

std::string body_in_utf8(const MessageText& text) {
    std::string body;
    try {
        // Most texts are ASCII or UTF-8 and keep their size.
        body.reserve(text.body.length());
        tolva::iconvRecode(to_view(text.body), text.charset, "UTF-8", true,
                           [&body](std::string_view piece) { body += piece; });
    } catch (const std::runtime_error&) {
        warn_unconverted("body", text.charset);
        body = to_view(text.body);
    }
    return body;
}

// `body_charset` is what a warning names: not the charset of the encoded word, but what
// administrators have always found there.
std::string subject_in_utf8(const std::string& raw_subject, const std::string& body_charset) {
    try {
        return tolva::rfc1522::decode(raw_subject);
    } catch (const std::runtime_error&) {
        warn_unconverted("subject", body_charset);
        return {};
    }
}

Mail_content content_of(MessageParts parts) {
    Mail_content content;
    content.from = std::move(parts.sender.address);
    set_recipient(content, std::move(parts.recipient));
    content.date = std::move(parts.raw_date);
    content.charset = parts.text.charset;
    content.body_lines = BodyLines(body_in_utf8(parts.text));
    parts.text.body = DwString();  // mostly the whole message
    content.subject = subject_in_utf8(parts.raw_subject, content.charset);
    return content;
}

}  // namespace

std::optional<MessageAnalysis> analyse_message(DwString text, const char* recipient,
                                               DwString* header) {
    std::optional<MessageParts> parts =
        take_apart(std::exchange(text, DwString()), recipient, header);
    if (!parts) {
        return std::nullopt;
    }
    MessageAnalysis analysis;
    analysis.sender_field = parts->sender.field;
    analysis.text_source = parts->text.source;
    analysis.text_part = parts->text.part;
    analysis.content = content_of(std::move(*parts));
    return analysis;
}

int parse_message(Mail_content* mail) {
    return parse_message(mail, nullptr);
}

int parse_message(Mail_content* mail, DwString* header) {
    MessageCopy copy;
    if (!copy.made()) {
        report("Could not create a temporary file.");
        return 1;
    }
    MessageInput input = read_message(&copy);
    if (input.error != 0) {
        report("autoresponder: Failed to read the message: ", error_text(input.error));
    }
    auto analysis = analyse_message(std::move(input.text), std::getenv("RESP_RECIPIENT"), header);
    if (!analysis) {
        return 1;
    }
    *mail = std::move(analysis->content);
    return 0;
}
