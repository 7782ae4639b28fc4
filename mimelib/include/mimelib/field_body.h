#pragma once

#include <mimelib/component.h>

/// The body of a header field: from behind the colon, without the white space around it; the line
/// ends of a folded field stay.
class DwFieldBody : public DwMessageComponent {
  protected:
    using DwMessageComponent::DwMessageComponent;
};

/// Unstructured text, such as a subject. Encoded words are left as they are.
class DwText : public DwFieldBody {
  public:
    explicit DwText(DwString text) noexcept : DwFieldBody(std::move(text)) {}
};

/// A date, as written.
class DwDateTime : public DwFieldBody {
  public:
    explicit DwDateTime(DwString text) noexcept : DwFieldBody(std::move(text)) {}
};

/// The transfer encoding of a body (RFC 2045, section 6).
class DwMechanism : public DwFieldBody {
  public:
    explicit DwMechanism(DwString text) noexcept : DwFieldBody(std::move(text)) {}

    /// One of DwMime::kCte... . The whole field body must be the word, in any case: a comment or a
    /// semicolon makes it kCteUnknown. kCteNull for an empty one.
    int AsEnum() const;
};
