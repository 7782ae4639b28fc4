// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include <gmime/gmime.h>

#include "bench/mimelib/readers.h"

namespace {

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

std::string or_empty(const char* text) {
    return text == nullptr ? "" : text;
}

std::string sender(GMimeMessage* message) {
    for (InternetAddressList* list :
         {g_mime_message_get_reply_to(message), g_mime_message_get_from(message)}) {
        for (int i = 0; i < internet_address_list_length(list); ++i) {
            InternetAddress* address = internet_address_list_get_address(list, i);
            if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
                return or_empty(
                    internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
            }
        }
    }
    return "";
}

void take_body(GMimePart* part, Extract& extract) {
    GMimeContentType* type = g_mime_object_get_content_type(GMIME_OBJECT(part));
    extract.charset = or_empty(g_mime_content_type_get_parameter(type, "charset"));
    const Owned<GMimeStream> stream(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), stream.get());
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    extract.body.assign(reinterpret_cast<const char*>(bytes->data), bytes->len);
}

bool is_text(GMimeObject* object) {
    return GMIME_IS_PART(object) &&
           g_mime_content_type_is_type(g_mime_object_get_content_type(object), "text", "*");
}

void read_body(GMimeObject* object, Extract& extract) {
    if (is_text(object)) {
        take_body(GMIME_PART(object), extract);
    } else if (GMIME_IS_MULTIPART(object)) {
        GMimeMultipart* multipart = GMIME_MULTIPART(object);
        for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i) {
            GMimeObject* part = g_mime_multipart_get_part(multipart, i);
            if (is_text(part)) {
                take_body(GMIME_PART(part), extract);
                return;
            }
        }
    }
}

}  // namespace

Extract read_with_gmime(const std::string& text) {
    // The array is only borrowed: the stream reads the text in place.
    GByteArray bytes{reinterpret_cast<guint8*>(const_cast<char*>(text.data())),
                     static_cast<guint>(text.size())};
    const Owned<GMimeStream> stream(g_mime_stream_mem_new());
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream.get()), FALSE);
    g_mime_stream_mem_set_byte_array(GMIME_STREAM_MEM(stream.get()), &bytes);
    const Owned<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
    const Owned<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), nullptr));
    Extract extract;
    extract.sender = sender(message.get());
    extract.subject = or_empty(g_mime_object_get_header(GMIME_OBJECT(message.get()), "Subject"));
    extract.date = or_empty(g_mime_object_get_header(GMIME_OBJECT(message.get()), "Date"));
    read_body(g_mime_message_get_mime_part(message.get()), extract);
    return extract;
}
