// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include <mimelib/component.h>
#include <mimelib/string.h>

class DwBodyPart;
class DwEntity;

/// The body of an entity. Its text is still transfer-encoded (see codec.h).
class DwBody : public DwMessageComponent {
  public:
    /// `entity` owns the body; its media type names the boundary between the parts.
    DwBody(DwString text, const DwEntity& entity) noexcept;
    ~DwBody() override;
    DwBody(const DwBody&) = delete;
    DwBody& operator=(const DwBody&) = delete;

    /// The first part of a multipart body (RFC 2046, section 5.1), or null. The body reads its
    /// parts on demand and keeps two of them (see mimepp.h).
    DwBodyPart* FirstBodyPart() const;

  private:
    friend class DwBodyPart;
    struct Parts;

    DwBodyPart* part_at(std::optional<std::size_t> position) const;
    DwBodyPart* part_after(const DwBodyPart& part) const;
    std::unique_ptr<DwBodyPart> read_part(std::size_t position) const;

    const DwEntity& entity_;
    mutable std::unique_ptr<Parts> parts_;
};
