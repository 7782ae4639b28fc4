#pragma once

#include <forward_list>

#include <mimelib/field_body.h>

/// A parameter of a media type (RFC 2045, section 5.1), owned by the media type.
class DwParameter : public DwMessageComponent {
  public:
    DwParameter(DwString text, DwString attribute, DwString value) noexcept;

    /// The name, as written.
    const DwString& Attribute() const { return attribute_; }
    /// The value without its quotes. Backslashes are kept. Of a "boundary" of more than two
    /// characters single quotes around it are taken off too.
    const DwString& Value() const { return value_; }
    /// The parameter behind this one, or null.
    DwParameter* Next() const { return next_; }

  private:
    friend class DwMediaType;

    DwString attribute_;
    DwString value_;
    DwParameter* next_ = nullptr;
};

/// The type of a body (RFC 2045, section 5): "type/subtype; attribute=value; ...".
class DwMediaType : public DwFieldBody {
  public:
    explicit DwMediaType(DwString text) noexcept : DwFieldBody(std::move(text)) {}

    /// One of DwMime::kType... : kTypeNull when the field holds no type.
    int Type() const;
    /// The first parameter that has both attribute and value, or null.
    DwParameter* FirstParameter() const;

  private:
    void read() const;

    mutable bool is_read_ = false;
    mutable int type_ = 0;
    mutable std::forward_list<DwParameter> parameters_;
};
