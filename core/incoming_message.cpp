#include "core/incoming_message.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <mimelib/mimepp.h>

#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/message_copy.h"
#include "core/message_input.h"
#include "core/message_text.h"
#include "core/sender.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"

namespace {

// What is taken from the message, so that the whole of it need not stay in memory.
struct MessageParts {
    std::string sender;
    std::string recipient;
    std::string raw_subject;
    std::string raw_date;
    MessageText text;
};

std::string to_string(const DwString& text) {
    return {text.data(), text.length()};
}

// A slice of the message would keep all of it in memory: that is left to large headers.
DwString kept_header(const DwString& header) {
    constexpr std::size_t large = 65536;
    return header.length() < large ? DwString(header.data(), header.length()) : header;
}

// Takes the message apart, and keeps its header unless `header` is null. Nothing, with the reason
// on standard error, if it cannot be answered.
std::optional<MessageParts> take_apart(const DwString& input, DwString* header) {
    DwInitialize();
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(input, nullptr));
    message->Parse();

    DwHeaders& headers = message->Headers();
    const DwMailbox* sender = find_sender(headers);
    if (sender == nullptr) {
        report("Could not get sender's e-mail address from Reply-To: or From: headers.");
        return std::nullopt;
    }
    const char* recipient = std::getenv("RESP_RECIPIENT");
    if (recipient == nullptr) {
        report("Could not get recipient e-mail address from RESP_RECIPIENT environment variable");
        return std::nullopt;
    }
    if (header != nullptr) {
        *header = kept_header(headers.AsString());
    }
    return MessageParts{
        .sender = to_string(sender->LocalPart()) + "@" + to_string(sender->Domain()),
        .recipient = recipient,
        .raw_subject = headers.HasSubject() ? to_string(headers.Subject().AsString()) : "",
        .raw_date = headers.HasDate() ? to_string(headers.Date().AsString()) : "",
        .text = choose_text(*message)};
}

void warn_unconverted(std::string_view what, std::string_view charset) {
    report("Could not convert message ", what, " text from ", charset, " to UTF-8.");
}

std::string body_in_utf8(const MessageText& text) {
    std::string body = to_string(text.body);
    try {
        return tolva::iconvRecode(body, text.charset, "UTF-8", true);
    } catch (const std::runtime_error&) {
        warn_unconverted("body", text.charset);
        return body;
    }
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
    content.from = std::move(parts.sender);
    content.to = std::move(parts.recipient);
    // Without "@" both are the whole address: npos + 1 is 0.
    const std::size_t at = content.to.find('@');
    content.to_mailname = content.to.substr(0, at);
    content.to_domain = content.to.substr(at + 1);
    content.date = std::move(parts.raw_date);
    content.charset = parts.text.charset;
    content.body_lines = BodyLines(body_in_utf8(parts.text));
    content.subject = subject_in_utf8(parts.raw_subject, content.charset);
    return content;
}

}  // namespace

int parse_message(Mail_content* mail) {
    return parse_message(mail, nullptr);
}

int parse_message(Mail_content* mail, DwString* header) {
    MessageCopy copy;
    if (!copy.made()) {
        report("Could not create a temporary file.");
        return 1;
    }
    std::optional<MessageParts> parts = take_apart(read_message(copy), header);
    if (!parts) {
        return 1;
    }
    *mail = content_of(std::move(*parts));
    return 0;
}
