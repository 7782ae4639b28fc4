// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <memory>

#include <mimelib/component.h>
#include <mimelib/field_body.h>
#include <mimelib/string.h>

class DwMediaType;

/// A parameter of a media type (RFC 2045, section 5.1). The media type owns its parameters, reads
/// them on demand and keeps two of them (see mimepp.h).
class DwParameter : public DwMessageComponent {
  public:
    /// The name, as written.
    const DwString& Attribute() const { return attribute_; }
    /// The value without its quotes. Backslashes are kept. A "boundary" of more than two characters
    /// also loses single quotes around it.
    const DwString& Value() const { return value_; }
    /// The next parameter, or null. The media type then keeps that one and this one only.
    DwParameter* Next() const;

  private:
    friend class DwMediaType;
    DwParameter(const DwMediaType& media_type, DwString text, DwString attribute, DwString value,
                std::size_t next_position) noexcept;

    const DwMediaType& media_type_;
    DwString attribute_;
    DwString value_;
    std::size_t next_position_;
};

/// The type of a body (RFC 2045, section 5): "type/subtype; attribute=value; ...".
class DwMediaType : public DwFieldBody {
  public:
    explicit DwMediaType(DwString text) noexcept;
    ~DwMediaType() override;
    DwMediaType(const DwMediaType&) = delete;
    DwMediaType& operator=(const DwMediaType&) = delete;

    /// One of DwMime::kType... : kTypeNull when the field holds no type.
    int Type() const;
    /// The first parameter that has both attribute and value, or null.
    DwParameter* FirstParameter() const;

  private:
    friend class DwParameter;
    struct Parts;

    Parts& parts() const;
    DwParameter* parameter_at(std::size_t position) const;
    DwParameter* parameter_after(const DwParameter& parameter) const;
    std::unique_ptr<DwParameter> read_parameter(std::size_t position) const;

    mutable std::unique_ptr<Parts> parts_;
};
