#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

/// The lines of a text, split at line feeds, which belong to none of them. What follows the last
/// line feed is a line too, even if it is empty; so there is always one. The text is held once and
/// the lines are views of it: a message may be nothing but millions of line ends.
class BodyLines {
  public:
    BodyLines() = default;
    explicit BodyLines(std::string text) : text_(std::move(text)) {}

    class Iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::string_view*;
        using reference = std::string_view;

        Iterator() = default;
        explicit Iterator(std::string_view text);

        /// Valid as long as the lines.
        std::string_view operator*() const { return rest_.substr(0, length_); }
        Iterator& operator++();
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t /*end*/) const { return at_end_; }

      private:
        std::string_view rest_;  // the line and all that follows it
        std::size_t length_ = 0;
        bool at_end_ = true;
    };

    [[nodiscard]] Iterator begin() const { return Iterator(text_); }
    [[nodiscard]] static std::default_sentinel_t end() { return std::default_sentinel; }

    /// The lines with the line feeds between them.
    [[nodiscard]] const std::string& text() const { return text_; }

  private:
    std::string text_;
};
