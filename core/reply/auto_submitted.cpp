// SPDX-License-Identifier: Apache-2.0

#include "core/reply/auto_submitted.h"

#include <algorithm>
#include <cstddef>

#include "core/message/field_tokens.h"
#include "core/message/header_fields.h"

namespace autoresponder {

namespace {

constexpr std::size_t kLongestId = 998;  // a line's length (RFC 5322, 2.1.1)

// Whether the id, without its brackets, is "left@right" of characters that can stand in it.
bool is_well_formed(std::string_view id) {
    const std::size_t at = id.find('@');
    return at != std::string_view::npos && at > 0 && id.back() != '@' &&
           std::ranges::all_of(id, [](char c) { return c > ' ' && c <= '~' && c != '<'; });
}

}  // namespace

std::optional<std::string_view> message_id(std::string_view body) {
    const FieldToken bracket = FieldTokens(body).next();
    if (!bracket.is('<')) {
        return std::nullopt;
    }
    body.remove_prefix(static_cast<std::size_t>(bracket.text.data() - body.data()));
    const std::size_t end = body.find('>');  // npos is longer than any
    if (end >= kLongestId || !is_well_formed(body.substr(1, end - 1)) ||
        FieldTokens(body.substr(end + 1)).next().kind != FieldToken::Kind::kEnd) {
        return std::nullopt;
    }
    return body.substr(0, end + 1);
}

ReplyMarks::ReplyMarks(const HeaderFields& header) : automatic_(true) {
    if (const auto body = header.first("Message-ID")) {
        message_id_ = message_id(*body).value_or("");
    }
}

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
