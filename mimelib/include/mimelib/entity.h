// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include <mimelib/component.h>
#include <mimelib/string.h>

class DwBody;
class DwHeaders;

/// Headers and body (RFC 822, section 3.1): a message or a part of one.
class DwEntity : public DwMessageComponent {
  public:
    ~DwEntity() override;
    DwEntity(const DwEntity&) = delete;
    DwEntity& operator=(const DwEntity&) = delete;

    /// Finds where the headers end.
    void Parse() override;

    /// Owned by the entity. An entity without headers has empty ones.
    DwHeaders& Headers() const;
    DwBody& Body() const;

  protected:
    explicit DwEntity(DwString text) noexcept;

  private:
    void split() const;

    mutable bool is_split_ = false;
    mutable std::size_t headers_length_ = 0;
    mutable std::size_t body_start_ = 0;
    mutable std::unique_ptr<DwHeaders> headers_;
    mutable std::unique_ptr<DwBody> body_;
};

class DwMessage : public DwEntity {
  public:
    /// Makes a message that shares `text`. The caller deletes it. `parent` is not used.
    static DwMessage* NewMessage(const DwString& text, DwMessageComponent* parent);

  private:
    using DwEntity::DwEntity;
};

/// A part of a multipart body (RFC 2046, section 5.1). The body owns its parts, reads them on
/// demand and keeps two of them (see mimepp.h).
class DwBodyPart : public DwEntity {
  public:
    /// The next part, or null. The body then keeps that one and this one only.
    DwBodyPart* Next() const;

  private:
    friend class DwBody;
    DwBodyPart(DwString text, const DwBody& body,
               std::optional<std::size_t> next_position) noexcept;

    const DwBody& body_;
    std::optional<std::size_t> next_position_;
};
