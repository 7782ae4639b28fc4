// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <utility>

#include <mimelib/component.h>
#include <mimelib/string.h>

/// The body of a header field: what follows the colon, without leading spaces and tabs and without
/// trailing white space. The line ends of a folded field are kept.
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

    /// One of DwMime::kCte... : kCteNull for an empty field. Only the word alone counts, in upper
    /// or lower case: with a comment or a semicolon it is kCteUnknown.
    int AsEnum() const;
};
