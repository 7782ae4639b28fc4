// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_text.h"

#include "core/message/dw_string.h"
#include "support/ascii.h"

namespace autoresponder {

namespace {

MessageText text_of(const DwEntity& entity, MessageText::Source source, std::size_t part = 0) {
    MessageText text;
    text.charset = to_string(GetCharset(entity));
    DecodeBody(entity, text.body);
    text.source = source;
    text.part = part;
    return text;
}

MessageText text_of_first_part(const DwMessage& message) {
    std::size_t number = 0;
    for (const DwBodyPart* part = message.Body().FirstBodyPart(); part != nullptr;
         part = part->Next(), ++number) {
        if (is_text(*part)) {
            return text_of(*part, MessageText::Source::kPart, number);
        }
    }
    MessageText none;
    none.source = MessageText::Source::kNoPart;
    return none;
}

}  // namespace

MessageText choose_text(const DwMessage& message) {
    DwHeaders& headers = message.Headers();
    if (!headers.HasContentType() || is_text(message)) {
        return text_of(message, MessageText::Source::kMessage);
    }
    if (headers.ContentType().Type() == DwMime::kTypeMultipart) {
        return text_of_first_part(message);
    }
    return {};
}

bool is_text(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    return headers.HasContentType() && headers.ContentType().Type() == DwMime::kTypeText;
}

DwString GetCharset(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    if (headers.HasContentType()) {
        for (const DwParameter* parameter = headers.ContentType().FirstParameter();
             parameter != nullptr; parameter = parameter->Next()) {
            if (tolva::equals_ignoring_case(to_view(parameter->Attribute()), "charset")) {
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

}  // namespace autoresponder
