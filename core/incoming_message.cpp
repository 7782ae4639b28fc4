#include "core/incoming_message.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/diagnostics.h"
#include "core/mail_content.h"
#include "core/run_end.h"
#include "encoding/iconv_recode.h"
#include "encoding/rfc1522.h"
#include "support/descriptor.h"

namespace {

/// The text of a message and its charset, before conversion.
struct MessageText {
    std::string charset = "US-ASCII";
    std::string body;
};

/// What is taken from the message, so that the whole of it need not stay in memory.
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

/// Up to `size` bytes of standard input; 0 at its end, which a failing read is too.
std::size_t read_input(char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, buffer, size);
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            std::cerr << "autoresponder: Failed to read the message: " << error_text(errno)
                      << std::endl;
            return 0;
        }
    }
}

/// A copy that cannot be written whole is no reason not to answer, so nothing is reported.
void write_copy(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return;
        }
    }
}

/// Reads the message into `text` and into its copy on disk. Both get a line feed behind the last
/// line, the empty one behind a final line feed included. False if there is no file for the copy.
bool read_message(DwString& text) {
    const tolva::Descriptor copy(mkstemp(mail_file_name));
    if (!copy) {
        return false;
    }
    std::array<char, 65536> buffer;
    while (const std::size_t count = read_input(buffer.data(), buffer.size())) {
        text += DwString(buffer.data(), count);
        write_copy(copy.get(), {buffer.data(), count});
    }
    text += "\n";
    write_copy(copy.get(), "\n");
    return true;
}

const DwMailbox* find_sender(DwHeaders& headers) {
    const DwMailbox* sender = nullptr;
    if (headers.HasReplyTo()) {
        sender = GetMailboxFromAddressList(headers.ReplyTo());
    }
    if (sender == nullptr && headers.HasFrom()) {
        sender = GetMailboxFromMailboxList(headers.From());
    }
    return sender;
}

MessageText text_of(const DwEntity& entity) {
    DwString body;
    DecodeBody(entity, body);
    return {to_string(GetCharset(entity)), to_string(body)};
}

/// The first direct part that says it is text. Parts that say nothing are passed over.
const DwBodyPart* find_text_part(const DwMessage& message) {
    const DwBodyPart* part = message.Body().FirstBodyPart();
    while (part != nullptr && !(part->Headers().HasContentType() &&
                                part->Headers().ContentType().Type() == DwMime::kTypeText)) {
        part = part->Next();
    }
    return part;
}

MessageText choose_text(const DwMessage& message) {
    DwHeaders& headers = message.Headers();
    if (!headers.HasContentType() || headers.ContentType().Type() == DwMime::kTypeText) {
        return text_of(message);
    }
    if (headers.ContentType().Type() == DwMime::kTypeMultipart) {
        if (const DwBodyPart* part = find_text_part(message)) {
            return text_of(*part);
        }
    }
    return {};
}

/// Reads the message and takes it apart. False, with the reason on standard error, if it cannot be
/// answered.
bool analyse_message(MessageParts& parts) {
    DwString input;
    if (!read_message(input)) {
        std::cerr << "Could not create a temporary file." << std::endl;
        return false;
    }
    DwInitialize();
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(input, nullptr));
    message->Parse();

    DwHeaders& headers = message->Headers();
    const DwMailbox* sender = find_sender(headers);
    if (sender == nullptr) {
        std::cerr << "Could not get sender's e-mail address from Reply-To: or From: headers."
                  << std::endl;
        return false;
    }
    const char* recipient = std::getenv("RESP_RECIPIENT");
    if (recipient == nullptr) {
        std::cerr
            << "Could not get recipient e-mail address from RESP_RECIPIENT environment variable"
            << std::endl;
        return false;
    }
    parts.sender = to_string(sender->LocalPart()) + "@" + to_string(sender->Domain());
    parts.recipient = recipient;
    if (headers.HasSubject()) {
        parts.raw_subject = to_string(headers.Subject().AsString());
    }
    if (headers.HasDate()) {
        parts.raw_date = to_string(headers.Date().AsString());
    }
    parts.text = choose_text(*message);
    return true;
}

void warn_unconverted(std::string_view what, std::string_view charset) {
    std::cerr << "Could not convert message " << what << " text from " << charset << " to UTF-8.\n";
}

std::string body_in_utf8(MessageText text) {
    try {
        return tolva::iconvRecode(text.body, text.charset, "UTF-8", true);
    } catch (const std::runtime_error&) {
        warn_unconverted("body", text.charset);
        return std::move(text.body);
    }
}

/// `body_charset` is what a warning names: not the charset of the encoded word, but what
/// administrators have always found there.
std::string subject_in_utf8(const std::string& raw_subject, const std::string& body_charset) {
    try {
        return tolva::rfc1522::decode(raw_subject);
    } catch (const std::runtime_error&) {
        warn_unconverted("subject", body_charset);
        return {};
    }
}

std::vector<std::string> split_lines(std::string_view text) {
    std::vector<std::string> lines;
    lines.reserve(static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1);
    for (;;) {
        const std::size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return lines;
        }
        text.remove_prefix(end + 1);
    }
}

}  // namespace

DwMailbox* GetMailboxFromAddressList(const DwAddressList& addresses) {
    for (DwAddress* address = addresses.FirstAddress(); address != nullptr;
         address = address->Next()) {
        if (address->IsValid() && !address->IsGroup() && address->IsMailbox()) {
            return static_cast<DwMailbox*>(address);
        }
    }
    return nullptr;
}

DwMailbox* GetMailboxFromMailboxList(const DwMailboxList& mailboxes) {
    for (DwAddress* mailbox = mailboxes.FirstMailbox(); mailbox != nullptr;
         mailbox = mailbox->Next()) {
        if (mailbox->IsValid()) {
            return static_cast<DwMailbox*>(mailbox);
        }
    }
    return nullptr;
}

DwString GetCharset(const DwEntity& entity) {
    constexpr std::string_view charset = "charset";
    const auto matches_lowercase = [](char left, char right) {
        return (left >= 'A' && left <= 'Z' ? left - 'A' + 'a' : left) == right;
    };

    DwHeaders& headers = entity.Headers();
    if (headers.HasContentType()) {
        for (const DwParameter* parameter = headers.ContentType().FirstParameter();
             parameter != nullptr; parameter = parameter->Next()) {
            const DwString& attribute = parameter->Attribute();
            if (std::ranges::equal(std::string_view(attribute.data(), attribute.length()), charset,
                                   matches_lowercase)) {
                return parameter->Value();
            }
        }
    }
    return DwString("US-ASCII");
}

void DecodeBody(const DwEntity& entity, DwString& out) {
    const DwString& body = entity.Body().AsString();
    DwHeaders& headers = entity.Headers();
    const int mechanism = headers.HasContentTransferEncoding()
                              ? headers.ContentTransferEncoding().AsEnum()
                              : static_cast<int>(DwMime::kCteNull);
    // What a decoder makes of a malformed body is better than nothing: the results are not checked.
    if (mechanism == DwMime::kCteBase64) {
        DwDecodeBase64(body, out);
    } else if (mechanism == DwMime::kCteQuotedPrintable) {
        DwDecodeQuotedPrintable(body, out);
    } else {
        out = body;
    }
}

int parse_message(Mail_content* mail) {
    MessageParts parts;
    if (!analyse_message(parts)) {
        return 1;
    }
    Mail_content content;
    content.from = std::move(parts.sender);
    content.to = std::move(parts.recipient);
    // Without "@" both are the whole address: npos + 1 is 0.
    const std::size_t at = content.to.find('@');
    content.to_mailname = content.to.substr(0, at);
    content.to_domain = content.to.substr(at + 1);
    content.date = std::move(parts.raw_date);
    content.charset = parts.text.charset;
    const std::string body = body_in_utf8(std::move(parts.text));
    content.subject = subject_in_utf8(parts.raw_subject, content.charset);
    content.body_lines = split_lines(body);
    *mail = std::move(content);
    return 0;
}
