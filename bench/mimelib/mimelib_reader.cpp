// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include "bench/mimelib/readers.h"

namespace {

std::string to_string(const DwString& text) {
    return {text.data(), text.length()};
}

const DwMailbox* sender(DwHeaders& headers) {
    if (headers.HasReplyTo()) {
        for (const DwAddress* address = headers.ReplyTo().FirstAddress(); address != nullptr;
             address = address->Next()) {
            if (address->IsValid() && address->IsMailbox()) {
                return static_cast<const DwMailbox*>(address);
            }
        }
    }
    return headers.HasFrom() ? headers.From().FirstMailbox() : nullptr;
}

std::string charset(DwHeaders& headers) {
    if (headers.HasContentType()) {
        for (const DwParameter* parameter = headers.ContentType().FirstParameter();
             parameter != nullptr; parameter = parameter->Next()) {
            if (parameter->Attribute() == "charset") {
                return to_string(parameter->Value());
            }
        }
    }
    return "US-ASCII";
}

void take_body(const DwEntity& entity, Extract& extract) {
    DwHeaders& headers = entity.Headers();
    extract.charset = charset(headers);
    DwString body = entity.Body().AsString();
    if (headers.HasContentTransferEncoding()) {
        const int encoding = headers.ContentTransferEncoding().AsEnum();
        if (encoding == DwMime::kCteBase64) {
            DwDecodeBase64(body, body);
        } else if (encoding == DwMime::kCteQuotedPrintable) {
            DwDecodeQuotedPrintable(body, body);
        }
    }
    extract.body = to_string(body);
}

bool is_text(const DwEntity& entity) {
    return entity.Headers().HasContentType() &&
           entity.Headers().ContentType().Type() == DwMime::kTypeText;
}

}  // namespace

Extract read_with_mimelib(const DwString& text) {
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    message->Parse();
    DwHeaders& headers = message->Headers();
    Extract extract;
    if (const DwMailbox* mailbox = sender(headers)) {
        extract.sender = to_string(mailbox->LocalPart()) + "@" + to_string(mailbox->Domain());
    }
    if (headers.HasSubject()) {
        extract.subject = to_string(headers.Subject().AsString());
    }
    if (headers.HasDate()) {
        extract.date = to_string(headers.Date().AsString());
    }
    if (!headers.HasContentType() || is_text(*message)) {
        take_body(*message, extract);
        return extract;
    }
    for (const DwBodyPart* part = message->Body().FirstBodyPart(); part != nullptr;
         part = part->Next()) {
        if (is_text(*part)) {
            take_body(*part, extract);
            break;
        }
    }
    return extract;
}
