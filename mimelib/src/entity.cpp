// SPDX-License-Identifier: Apache-2.0

#include <utility>

#include <mimelib/body.h>
#include <mimelib/entity.h>
#include <mimelib/headers.h>
#include <mimelib/string.h>

#include "mimelib/src/entity_split.h"
#include "mimelib/src/view.h"

DwEntity::DwEntity(DwString text) noexcept : DwMessageComponent(std::move(text)) {}

DwEntity::~DwEntity() = default;

void DwEntity::Parse() {
    split();
}

DwHeaders& DwEntity::Headers() const {
    if (!headers_) {
        split();
        headers_ = std::make_unique<DwHeaders>(text().substr(0, headers_length_));
    }
    return *headers_;
}

DwBody& DwEntity::Body() const {
    if (!body_) {
        split();
        body_ = std::make_unique<DwBody>(text().substr(body_start_), *this);
    }
    return *body_;
}

void DwEntity::split() const {
    if (is_split_) {
        return;
    }
    const auto found = mimelib::split_entity(mimelib::view(text()));
    headers_length_ = found.headers_length;
    body_start_ = found.body_start;
    is_split_ = true;
}

DwMessage* DwMessage::NewMessage(const DwString& text, DwMessageComponent* /*parent*/) {
    return new DwMessage(text);
}

DwBodyPart::DwBodyPart(DwString text, const DwBody& body,
                       std::optional<std::size_t> next_position) noexcept
    : DwEntity(std::move(text)), body_(body), next_position_(next_position) {}

DwBodyPart* DwBodyPart::Next() const {
    return body_.part_after(*this);
}
