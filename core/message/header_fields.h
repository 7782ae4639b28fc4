// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>

namespace autoresponder {

/// A field of a header (RFC 5322, 2.2). Both parts are slices of the header's text.
struct HeaderField {
    std::string_view name;  ///< as written, without the blanks before the colon (RFC 5322, 4.5)
    /// Without the white space around it; the newlines of a folded field and comments are in it.
    std::string_view body;
};

/// The fields of a header, read where they stand, one by one, in time proportional to the text. Any
/// bytes are a header: lines end with a line feed, one that begins with a space or tab continues
/// the field before it, and a field without a colon is none.
class HeaderFields {
  public:
    /// `header` is the text of all fields, up to the empty line; it must outlive this object.
    explicit HeaderFields(std::string_view header) : header_(header) {}

    class Iterator {
      public:
        using value_type = HeaderField;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        explicit Iterator(std::string_view header) : rest_(header), at_end_(false) { ++*this; }

        const HeaderField& operator*() const { return field_; }
        const HeaderField* operator->() const { return &field_; }
        Iterator& operator++();
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t /*end*/) const { return at_end_; }

      private:
        std::string_view rest_;  // what follows the field
        HeaderField field_;
        bool at_end_ = true;
    };

    [[nodiscard]] Iterator begin() const { return Iterator(header_); }
    [[nodiscard]] static std::default_sentinel_t end() { return std::default_sentinel; }

    /// The body of the first field of that name, in any letter case; null when there is none.
    [[nodiscard]] std::optional<std::string_view> first(std::string_view name) const;

  private:
    std::string_view header_;
};

}  // namespace autoresponder
