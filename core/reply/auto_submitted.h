// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace autoresponder {

/// The header fields that mark a reply as automatic and tell which message it answers.
class ReplyMarks {
  public:
    /// None: the reply stays unmarked.
    ReplyMarks() = default;

    /// Those of a reply to the message with that identifier (core/message/message_id.h). One that
    /// is not well formed is left out.
    explicit ReplyMarks(std::string_view message_id);

    /// Writes the fields, if any: Auto-Submitted (RFC 3834, 5), and where the message has a
    /// well-formed Message-ID also In-Reply-To and References (RFC 5322, 3.6.4).
    void write(std::ostream& out) const;

  private:
    bool automatic_ = false;
    std::string message_id_;
};

}  // namespace autoresponder
