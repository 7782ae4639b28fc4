// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace autoresponder {

class HeaderFields;

/// The header fields that mark a reply as automatic and tell which message it answers.
class ReplyMarks {
  public:
    /// None: the reply stays unmarked.
    ReplyMarks() = default;

    /// Those of a reply to the message with this header.
    explicit ReplyMarks(const HeaderFields& header);

    /// Writes the fields, if any: Auto-Submitted (RFC 3834, 5), and where the message has a
    /// well-formed Message-ID also In-Reply-To and References (RFC 5322, 3.6.4).
    void write(std::ostream& out) const;

  private:
    bool automatic_ = false;
    std::string message_id_;
};

/// The message identifier in the body of a Message-ID field, with its angle brackets, as a slice;
/// null unless it is well formed: one "@" at least between the brackets, printable ASCII
/// throughout, no more than 998 bytes, and nothing else in the body but white space and comments.
/// So it can stand in the header of another message.
std::optional<std::string_view> message_id(std::string_view body);

}  // namespace autoresponder
