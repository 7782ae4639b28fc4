#include <mimelib/body.h>
#include <mimelib/entity.h>
#include <mimelib/enum.h>
#include <mimelib/headers.h>
#include <mimelib/media_type.h>

#include "mimelib/src/multipart.h"

namespace {

// The boundary text of a multipart; empty when the media type gives none.
DwString boundary_text(const DwMediaType& media_type) {
    for (const DwParameter* parameter = media_type.FirstParameter(); parameter != nullptr;
         parameter = parameter->Next()) {
        if (mimelib::equals_ignoring_case(mimelib::view(parameter->Attribute()), "boundary")) {
            return parameter->Value();
        }
    }
    return {};
}

}  // namespace

struct DwBody::Parts {
    explicit Parts(const DwString& boundary) : reader(mimelib::view(boundary)) {}

    mimelib::MultipartReader reader;
    std::vector<std::unique_ptr<DwBodyPart>> read;
};

DwBody::DwBody(DwString text, const DwEntity& entity) noexcept
    : DwMessageComponent(std::move(text)), entity_(entity) {}

DwBody::~DwBody() = default;

DwBodyPart* DwBody::FirstBodyPart() const {
    DwHeaders& headers = entity_.Headers();
    if (!headers.HasContentType() || headers.ContentType().Type() != DwMime::kTypeMultipart) {
        return nullptr;
    }
    if (!parts_) {
        parts_ = std::make_unique<Parts>(boundary_text(headers.ContentType()));
    }
    return part(0);
}

// The part of that number, counted from 0, or null. Parts are asked for in order.
DwBodyPart* DwBody::part(std::size_t number) const {
    auto& read = parts_->read;
    if (number == read.size()) {
        const auto slice = parts_->reader.next(mimelib::view(text()));
        if (!slice) {
            return nullptr;
        }
        std::unique_ptr<DwBodyPart> found(
            new DwBodyPart(mimelib::slice_of(text(), *slice), *this, number));
        read.push_back(std::move(found));
    }
    return read[number].get();
}
