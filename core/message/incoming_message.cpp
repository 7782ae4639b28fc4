// SPDX-License-Identifier: Apache-2.0

#include "core/message/incoming_message.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "core/message/dw_string.h"
#include "core/run/diagnostics.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"
#include "support/descriptor.h"

namespace autoresponder {

namespace {

// Calls keep(bytes) for each block of standard input, and for the newline after the last line.
template <typename Keep>
tolva::Result<void> read_blocks(Keep keep) {
    // On the heap: stack-clash protection would touch every page of it, and most messages fill one
    // or two.
    constexpr std::size_t size = 65536;
    const auto buffer = std::make_unique_for_overwrite<char[]>(size);
    tolva::Result<void> result;
    std::size_t length = size;
    while (result && length == size) {
        result = tolva::read_block(STDIN_FILENO, std::span(buffer.get(), size), length);
        keep(std::string_view(buffer.get(), length));
    }
    keep(std::string_view("\n"));
    return result;
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
        analysis.objection =
            "Could not get sender's e-mail address from Reply-To: or From: headers.";
        return parts;
    }
    if (recipient == nullptr) {
        analysis.objection =
            "Could not get recipient e-mail address from RESP_RECIPIENT environment variable";
        return parts;
    }
    analysis.content.from = std::move(sender->address);
    analysis.sender_field = sender->field;
    set_recipient(analysis.content, recipient);
    parts.raw_subject = headers.HasSubject() ? to_string(headers.Subject().AsString()) : "";
    analysis.content.date = headers.HasDate() ? to_string(headers.Date().AsString()) : "";
    if (audience == Audience::kOnlyPeople) {
        analysis.header = to_string(headers.AsString());
    }
    parts.text = choose_text(*message);
    analysis.text_source = parts.text.source;
    analysis.text_part = parts.text.part;
    return parts;
}

}  // namespace

MessageInput read_message() {
    MessageInput input;
    input.read = read_blocks(
        [&](std::string_view bytes) { input.text += DwString(bytes.data(), bytes.size()); });
    return input;
}

DwString receive_message(MessageCopy& copy) {
    DwString text;
    const auto read = read_blocks([&](std::string_view bytes) {
        text += DwString(bytes.data(), bytes.size());
        copy.append(bytes);
    });
    copy.close();
    if (!read) {
        report("autoresponder: Failed to read the message: ", error_text(read.error()));
    }
    return text;
}

MessageAnalysis analyse_message(DwString text, const char* recipient, Audience audience) {
    MessageParts parts = take_apart(take(text), recipient, audience);
    if (parts.analysis.objection == nullptr) {
        Mail_content& content = parts.analysis.content;
        content.charset = parts.text.charset;
        content.body_lines = BodyLines(body_in_utf8(parts.text));
        parts.text.body = DwString();  // mostly the whole message
        content.subject = subject_in_utf8(parts.raw_subject, content.charset);
    }
    return std::move(parts.analysis);
}

int parse_message(Mail_content* mail) {
    tolva::Result<MessageCopy> copy = MessageCopy::make();
    if (!copy) {
        report(kNoCopy);
        return 1;
    }
    MessageAnalysis analysis = analyse_message(receive_message(*copy),
                                               std::getenv("RESP_RECIPIENT"), Audience::kEverybody);
    if (analysis.objection != nullptr) {
        report(analysis.objection);
        return 1;
    }
    *mail = std::move(analysis.content);
    return 0;
}

}  // namespace autoresponder
