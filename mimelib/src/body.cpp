// SPDX-License-Identifier: Apache-2.0

#include <utility>

#include <mimelib/body.h>
#include <mimelib/entity.h>
#include <mimelib/enum.h>
#include <mimelib/headers.h>
#include <mimelib/media_type.h>

#include "mimelib/src/last_two.h"
#include "mimelib/src/multipart.h"
#include "mimelib/src/view.h"

namespace {

// The boundary text of a multipart; empty if its Content-Type names none. This walks along the
// parameters of a media type of its own, so that those in use by the caller stay.
DwString boundary_text(const DwString& content_type) {
    const DwMediaType media_type(content_type);
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
    Parts(const DwString& body, const DwString& boundary)
        : search(mimelib::view(boundary)),
          first_position(mimelib::first_part(search, mimelib::view(body))) {}

    mimelib::BoundarySearch search;
    std::optional<std::size_t> first_position;
    mimelib::LastTwo<DwBodyPart> last_two;
};

DwBody::DwBody(DwString text, const DwEntity& entity) noexcept
    : DwMessageComponent(std::move(text)), entity_(entity) {}

DwBody::~DwBody() = default;

DwBodyPart* DwBody::FirstBodyPart() const {
    if (!parts_) {
        DwHeaders& headers = entity_.Headers();
        if (!headers.HasContentType() || headers.ContentType().Type() != DwMime::kTypeMultipart) {
            return nullptr;
        }
        parts_ = std::make_unique<Parts>(text(), boundary_text(headers.ContentType().AsString()));
    }
    return part_at(parts_->first_position);
}

DwBodyPart* DwBody::part_after(const DwBodyPart& part) const {
    parts_->last_two.use(part);
    return part_at(part.next_position_);
}

DwBodyPart* DwBody::part_at(std::optional<std::size_t> position) const {
    if (!position) {
        return nullptr;
    }
    return parts_->last_two.at(*position, [&] { return read_part(*position); });
}

std::unique_ptr<DwBodyPart> DwBody::read_part(std::size_t position) const {
    const auto found = mimelib::part_at(parts_->search, mimelib::view(text()), position);
    return std::unique_ptr<DwBodyPart>(
        new DwBodyPart(mimelib::slice_of(text(), found.slice), *this, found.next_position));
}
