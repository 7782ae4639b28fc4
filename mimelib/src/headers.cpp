// SPDX-License-Identifier: Apache-2.0

#include <utility>

#include <mimelib/address.h>
#include <mimelib/field_body.h>
#include <mimelib/headers.h>
#include <mimelib/media_type.h>
#include <mimelib/string.h>

#include "mimelib/src/field_index.h"
#include "mimelib/src/view.h"

using mimelib::KnownField;

// Where the known fields are, and their bodies as far as they have been asked for.
struct DwHeaders::Fields {
    explicit Fields(DwString headers)
        : text(std::move(headers)), index(mimelib::index_fields(mimelib::view(text))) {}

    bool has(KnownField field) const { return index[field].has_value(); }

    template <typename FieldBody>
    FieldBody& body(KnownField field, std::unique_ptr<FieldBody>& made) const {
        if (!made) {
            made = std::make_unique<FieldBody>(has(field) ? mimelib::slice_of(text, *index[field])
                                                          : DwString());
        }
        return *made;
    }

    DwString text;
    mimelib::FieldIndex index;
    std::unique_ptr<DwAddressList> reply_to;
    std::unique_ptr<DwMailboxList> from;
    std::unique_ptr<DwText> subject;
    std::unique_ptr<DwDateTime> date;
    std::unique_ptr<DwMediaType> content_type;
    std::unique_ptr<DwMechanism> content_transfer_encoding;
};

DwHeaders::DwHeaders(DwString text) noexcept : DwMessageComponent(std::move(text)) {}

DwHeaders::~DwHeaders() = default;

DwHeaders::Fields& DwHeaders::fields() const {
    if (!fields_) {
        fields_ = std::make_unique<Fields>(text());
    }
    return *fields_;
}

DwBool DwHeaders::HasReplyTo() const {
    return fields().has(mimelib::kReplyTo);
}
DwBool DwHeaders::HasFrom() const {
    return fields().has(mimelib::kFrom);
}
DwBool DwHeaders::HasSubject() const {
    return fields().has(mimelib::kSubject);
}
DwBool DwHeaders::HasDate() const {
    return fields().has(mimelib::kDate);
}
DwBool DwHeaders::HasContentType() const {
    return fields().has(mimelib::kContentType);
}
DwBool DwHeaders::HasContentTransferEncoding() const {
    return fields().has(mimelib::kContentTransferEncoding);
}

DwAddressList& DwHeaders::ReplyTo() {
    return fields().body(mimelib::kReplyTo, fields().reply_to);
}
DwMailboxList& DwHeaders::From() {
    return fields().body(mimelib::kFrom, fields().from);
}
DwText& DwHeaders::Subject() {
    return fields().body(mimelib::kSubject, fields().subject);
}
DwDateTime& DwHeaders::Date() {
    return fields().body(mimelib::kDate, fields().date);
}
DwMediaType& DwHeaders::ContentType() {
    return fields().body(mimelib::kContentType, fields().content_type);
}
DwMechanism& DwHeaders::ContentTransferEncoding() {
    return fields().body(mimelib::kContentTransferEncoding, fields().content_transfer_encoding);
}
