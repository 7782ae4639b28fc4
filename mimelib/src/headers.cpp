#include <mimelib/address.h>
#include <mimelib/field_body.h>
#include <mimelib/headers.h>
#include <mimelib/media_type.h>

#include "mimelib/src/field_index.h"

namespace {

template <typename FieldBody>
class Field {
  public:
    void set(DwString text) {
        body_ = std::make_unique<FieldBody>(std::move(text));
        present_ = true;
    }
    bool present() const { return present_; }
    FieldBody& body() {
        if (!body_) {
            body_ = std::make_unique<FieldBody>(DwString());
        }
        return *body_;
    }

  private:
    std::unique_ptr<FieldBody> body_;
    bool present_ = false;
};

template <typename Fields, typename FieldBody>
bool has(const Fields* fields, Field<FieldBody> Fields::*field) {
    return fields != nullptr && (fields->*field).present();
}

}  // namespace

struct DwHeaders::Fields {
    Field<DwAddressList> reply_to;
    Field<DwMailboxList> from;
    Field<DwText> subject;
    Field<DwDateTime> date;
    Field<DwMediaType> content_type;
    Field<DwMechanism> content_transfer_encoding;
};

DwHeaders::DwHeaders(DwString text) noexcept : DwMessageComponent(std::move(text)) {}

DwHeaders::~DwHeaders() = default;

DwHeaders::Fields* DwHeaders::present_fields() const {
    if (is_indexed_) {
        return fields_.get();
    }
    const mimelib::FieldIndex index = mimelib::index_fields(mimelib::view(text()));
    std::unique_ptr<Fields> fields;
    const auto set = [&](auto field, mimelib::KnownField known) {
        if (index[known]) {
            if (!fields) {
                fields = std::make_unique<Fields>();
            }
            ((*fields).*field).set(mimelib::slice_of(text(), *index[known]));
        }
    };
    set(&Fields::reply_to, mimelib::kReplyTo);
    set(&Fields::from, mimelib::kFrom);
    set(&Fields::subject, mimelib::kSubject);
    set(&Fields::date, mimelib::kDate);
    set(&Fields::content_type, mimelib::kContentType);
    set(&Fields::content_transfer_encoding, mimelib::kContentTransferEncoding);
    fields_ = std::move(fields);
    is_indexed_ = true;
    return fields_.get();
}

DwHeaders::Fields& DwHeaders::fields() const {
    if (present_fields() == nullptr) {
        fields_ = std::make_unique<Fields>();
    }
    return *fields_;
}

DwBool DwHeaders::HasReplyTo() const {
    return has(present_fields(), &Fields::reply_to);
}
DwBool DwHeaders::HasFrom() const {
    return has(present_fields(), &Fields::from);
}
DwBool DwHeaders::HasSubject() const {
    return has(present_fields(), &Fields::subject);
}
DwBool DwHeaders::HasDate() const {
    return has(present_fields(), &Fields::date);
}
DwBool DwHeaders::HasContentType() const {
    return has(present_fields(), &Fields::content_type);
}
DwBool DwHeaders::HasContentTransferEncoding() const {
    return has(present_fields(), &Fields::content_transfer_encoding);
}

DwAddressList& DwHeaders::ReplyTo() {
    return fields().reply_to.body();
}
DwMailboxList& DwHeaders::From() {
    return fields().from.body();
}
DwText& DwHeaders::Subject() {
    return fields().subject.body();
}
DwDateTime& DwHeaders::Date() {
    return fields().date.body();
}
DwMediaType& DwHeaders::ContentType() {
    return fields().content_type.body();
}
DwMechanism& DwHeaders::ContentTransferEncoding() {
    return fields().content_transfer_encoding.body();
}
