// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/mimelib/reading.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

const DwMailbox* reply_to_mailbox(const DwAddressList& list) {
    for (const DwAddress* address = list.FirstAddress(); address != nullptr;
         address = address->Next()) {
        if (address->IsValid() && !address->IsGroup() && address->IsMailbox()) {
            return static_cast<const DwMailbox*>(address);
        }
    }
    return nullptr;
}

const DwMailbox* from_mailbox(const DwMailboxList& list) {
    for (const DwAddress* mailbox = list.FirstMailbox(); mailbox != nullptr;
         mailbox = mailbox->Next()) {
        if (mailbox->IsValid()) {
            return static_cast<const DwMailbox*>(mailbox);
        }
    }
    return nullptr;
}

void read_sender(DwHeaders& headers, Reading& reading) {
    const DwMailbox* mailbox = nullptr;
    if (headers.HasReplyTo()) {
        mailbox = reply_to_mailbox(headers.ReplyTo());
        reading.sender_from = mailbox != nullptr ? "reply-to" : "none";
    }
    if (mailbox == nullptr && headers.HasFrom()) {
        mailbox = from_mailbox(headers.From());
        reading.sender_from = mailbox != nullptr ? "from" : "none";
    }
    if (mailbox != nullptr) {
        reading.from = to_string(mailbox->LocalPart()) + "@" + to_string(mailbox->Domain());
    }
}

std::string charset_of(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    if (headers.HasContentType()) {
        for (const DwParameter* parameter = headers.ContentType().FirstParameter();
             parameter != nullptr; parameter = parameter->Next()) {
            if (lower(to_string(parameter->Attribute())) == "charset") {
                return to_string(parameter->Value());
            }
        }
    }
    return "US-ASCII";
}

std::string decoded_body(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    const DwString& body = entity.Body().AsString();
    const int encoding = headers.HasContentTransferEncoding()
                             ? headers.ContentTransferEncoding().AsEnum()
                             : static_cast<int>(DwMime::kCteNull);
    DwString decoded = body;
    if (encoding == DwMime::kCteBase64) {
        DwDecodeBase64(body, decoded);
    } else if (encoding == DwMime::kCteQuotedPrintable) {
        DwDecodeQuotedPrintable(body, decoded);
    }
    return to_string(decoded);
}

void take_body(const DwEntity& entity, Reading& reading) {
    reading.charset = charset_of(entity);
    reading.body = decoded_body(entity);
}

void read_body(const DwMessage& message, Reading& reading) {
    DwHeaders& headers = message.Headers();
    if (!headers.HasContentType() || headers.ContentType().Type() == DwMime::kTypeText) {
        reading.kind = "self";
        take_body(message, reading);
        return;
    }
    if (headers.ContentType().Type() != DwMime::kTypeMultipart) {
        return;
    }
    reading.kind = "multipart-none";
    unsigned number = 0;
    for (const DwBodyPart* part = message.Body().FirstBodyPart(); part != nullptr;
         part = part->Next(), ++number) {
        if (part->Headers().HasContentType() &&
            part->Headers().ContentType().Type() == DwMime::kTypeText) {
            reading.kind = "part";
            reading.part = number;
            take_body(*part, reading);
            return;
        }
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Reading& reading) {
    return stream << "sender_from " << reading.sender_from << ", from "
                  << reading.from.value_or("(null)") << ", subject "
                  << reading.subject.value_or("(null)") << ", date "
                  << reading.date.value_or("(null)") << ", kind " << reading.kind << ' '
                  << (reading.part ? std::to_string(*reading.part) : "") << ", charset "
                  << reading.charset << ", body " << reading.body;
}

Reading read_message(const DwString& text) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    message->Parse();
    DwHeaders& headers = message->Headers();
    Reading reading;
    read_sender(headers, reading);
    if (headers.HasSubject()) {
        reading.subject = to_string(headers.Subject().AsString());
    }
    if (headers.HasDate()) {
        reading.date = to_string(headers.Date().AsString());
    }
    read_body(*message, reading);
    return reading;
}
