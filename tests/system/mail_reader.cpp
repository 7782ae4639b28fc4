// SPDX-License-Identifier: Apache-2.0

#include "tests/system/mail_reader.h"

#include <memory>
#include <stdexcept>

#include <gmime/gmime.h>

namespace {

template <typename Object>
using Owned = std::unique_ptr<Object, void (*)(void*)>;

template <typename Object>
Owned<Object> owned(Object* object) {
    return {object, g_object_unref};
}

std::string text_of(const char* text) {
    return text == nullptr ? "" : text;
}

std::string addresses(InternetAddressList* list) {
    if (list == nullptr) {
        return "";
    }
    const std::unique_ptr<char, void (*)(void*)> text(
        internet_address_list_to_string(list, nullptr, FALSE), g_free);
    return text_of(text.get());
}

std::string content(GMimePart* part) {
    const auto memory = owned(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), memory.get());
    const GByteArray* bytes =
        g_mime_stream_mem_get_byte_array(reinterpret_cast<GMimeStreamMem*>(memory.get()));
    return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

void take_part(GMimeObject*, GMimeObject* object, gpointer user_data) {
    auto* mail = static_cast<ReadMail*>(user_data);
    if (!GMIME_IS_PART(object)) {
        return;
    }
    GMimePart* part = GMIME_PART(object);
    if (mail->parts++ > 0) {
        mail->attachments.push_back({text_of(g_mime_part_get_filename(part)), content(part)});
        return;
    }
    GMimeContentType* type = g_mime_object_get_content_type(object);
    mail->text_type = text_of(g_mime_content_type_get_media_type(type)) + "/" +
                      text_of(g_mime_content_type_get_media_subtype(type));
    if (GMIME_IS_TEXT_PART(object)) {
        const std::unique_ptr<char, void (*)(void*)> text(
            g_mime_text_part_get_text(GMIME_TEXT_PART(object)), g_free);
        mail->text = text_of(text.get());
    }
}

}  // namespace

ReadMail read_mail(const std::string& bytes) {
    const auto stream = owned(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
    const auto parser = owned(g_mime_parser_new_with_stream(stream.get()));
    const auto message = owned(g_mime_parser_construct_message(parser.get(), nullptr));
    if (message == nullptr) {
        throw std::runtime_error("not a message: " + bytes.substr(0, 200));
    }
    ReadMail mail;
    mail.from = addresses(g_mime_message_get_from(message.get()));
    mail.to = addresses(g_mime_message_get_to(message.get()));
    mail.reply_to = addresses(g_mime_message_get_reply_to(message.get()));
    mail.subject = text_of(g_mime_message_get_subject(message.get()));
    g_mime_message_foreach(message.get(), take_part, &mail);
    return mail;
}

std::string decode_words(const std::string& text) {
    const std::unique_ptr<char, void (*)(void*)> decoded(
        g_mime_utils_header_decode_text(nullptr, text.c_str()), g_free);
    return text_of(decoded.get());
}
