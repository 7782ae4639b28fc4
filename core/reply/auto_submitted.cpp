// SPDX-License-Identifier: Apache-2.0

#include "core/reply/auto_submitted.h"

#include "core/message/message_id.h"

namespace autoresponder {

ReplyMarks::ReplyMarks(std::string_view message_id)
    : automatic_(true), message_id_(is_message_id(message_id) ? message_id : "") {}

void ReplyMarks::write(std::ostream& out) const {
    if (automatic_) {
        out << "Auto-Submitted: auto-replied\n";
    }
    if (!message_id_.empty()) {
        out << "In-Reply-To: " << message_id_ << "\n"
            << "References: " << message_id_ << "\n";
    }
}

}  // namespace autoresponder
