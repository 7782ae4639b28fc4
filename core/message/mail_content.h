// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace autoresponder {

/// The lines of a text, split at line feeds, which belong to none of them. What follows the last
/// line feed is a line too, even if it is empty; so there is always one. The text is held once and
/// the lines are views of it: a message may consist of millions of newlines.
class BodyLines {
  public:
    BodyLines() = default;
    explicit BodyLines(std::string text) : text_(std::move(text)) {}

    class Iterator {
      public:
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;

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

/// One incoming message, as far as the rest of the run needs it. analyse_message fills it. All
/// fields are byte strings and may hold zero bytes.
struct Mail_content {
    /// Sender: local part + "@" + domain, as written (no decoding, no case change).
    std::string from;
    /// Recipient, the value of RESP_RECIPIENT exactly as given.
    std::string to;
    /// `to` before its first "@"; the whole of `to` when it has none.
    std::string to_mailname;
    /// `to` after its first "@"; the whole of `to` when it has none.
    std::string to_domain;
    /// Subject with encoded words decoded, UTF-8; empty when absent or undecodable.
    std::string subject;
    /// Body of the Date: field as written; empty when absent.
    std::string date;
    /// Charset that the message declares for its text, as written there; "US-ASCII" when none. Not
    /// the charset of `subject` and `body_lines`.
    std::string charset;
    /// The lines of the text, UTF-8 whenever its conversion succeeded. Never empty.
    BodyLines body_lines;
};

/// Sets the recipient's address and the two halves of it.
void set_recipient(Mail_content& mail, std::string address);

}  // namespace autoresponder
