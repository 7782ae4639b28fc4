// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <utility>

#include <mimelib/string.h>

/// A piece of a message: the text it was made of and what can be read from that text.
class DwMessageComponent {
  public:
    virtual ~DwMessageComponent() = default;
    DwMessageComponent(const DwMessageComponent&) = delete;
    DwMessageComponent& operator=(const DwMessageComponent&) = delete;

    /// Parses the component's outermost structure. Calling it is optional: the other members parse
    /// what they need.
    virtual void Parse() {}

    /// The component's text, byte for byte as it stands in the message.
    const DwString& AsString() { return text_; }

  protected:
    explicit DwMessageComponent(DwString text) noexcept : text_(std::move(text)) {}

    const DwString& text() const { return text_; }

  private:
    DwString text_;
};
