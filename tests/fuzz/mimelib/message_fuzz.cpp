// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include "tests/fuzz/mimelib/property.h"

namespace {

void check_entity(const DwEntity& entity, const DwString& whole) {
    const DwString& headers = entity.Headers().AsString();
    const DwString& body = entity.Body().AsString();
    require(is_slice(headers, whole) && is_slice(body, whole), "headers and body are slices");
    if (!headers.empty() && !body.empty()) {
        const auto gap = body.data() - (headers.data() + headers.length());
        require(gap >= 0 && gap <= 2, "only one line end stands between headers and body");
    }
    DwHeaders& fields = entity.Headers();
    require(is_slice(fields.Subject().AsString(), headers), "the subject is a slice");
    require(is_slice(fields.Date().AsString(), headers), "the date is a slice");
    require(is_slice(fields.From().AsString(), headers), "From is a slice");
    require(is_slice(fields.ReplyTo().AsString(), headers), "Reply-To is a slice");
    require(is_slice(fields.ContentType().AsString(), headers), "the media type is a slice");
}

void check_parts(const DwEntity& message, const std::string& text) {
    const DwString& body = message.Body().AsString();
    const auto read = [&](DwBodyPart& part) {
        check_entity(part, body);
        return to_string(part.AsString());
    };
    require(read_all([&] { return message.Body().FirstBodyPart(); }, read) ==
                naive::parts(naive::entity(text)),
            "the parts are the naive reader's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const DwString text = input(data, size);
    const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
    message->Parse();
    require(message->AsString().data() == text.data() || size == 0, "the text is not copied");
    check_entity(*message, text);
    check_parts(*message, to_string(text));
    require(read_message(text) == naive::read_message(to_string(text)),
            "the message reads as by the naive reader");
    return 0;
}
