#include "core/message_text.h"

#include <string_view>

#include "core/letter_case.h"

namespace {

bool is_text(DwHeaders& headers) {
    return headers.ContentType().Type() == DwMime::kTypeText;
}

MessageText text_of(const DwEntity& entity) {
    const DwString charset = GetCharset(entity);
    MessageText text{.charset = {charset.data(), charset.length()}, .body = {}};
    DecodeBody(entity, text.body);
    return text;
}

const DwBodyPart* find_text_part(const DwMessage& message) {
    const DwBodyPart* part = message.Body().FirstBodyPart();
    while (part != nullptr && !(part->Headers().HasContentType() && is_text(part->Headers()))) {
        part = part->Next();
    }
    return part;
}

std::string_view view(const DwString& text) {
    return {text.data(), text.length()};
}

}  // namespace

MessageText choose_text(const DwMessage& message) {
    DwHeaders& headers = message.Headers();
    if (!headers.HasContentType() || is_text(headers)) {
        return text_of(message);
    }
    if (headers.ContentType().Type() == DwMime::kTypeMultipart) {
        if (const DwBodyPart* part = find_text_part(message)) {
            return text_of(*part);
        }
    }
    return {};
}

DwString GetCharset(const DwEntity& entity) {
    DwHeaders& headers = entity.Headers();
    if (headers.HasContentType()) {
        for (const DwParameter* parameter = headers.ContentType().FirstParameter();
             parameter != nullptr; parameter = parameter->Next()) {
            if (equals_ignoring_case(view(parameter->Attribute()), "charset")) {
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
