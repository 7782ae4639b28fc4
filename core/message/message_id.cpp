// SPDX-License-Identifier: Apache-2.0

#include "core/message/message_id.h"

#include <algorithm>
#include <cstddef>

#include "core/message/field_tokens.h"
#include "core/message/header_fields.h"

namespace autoresponder {

namespace {

constexpr std::size_t kLongestId = 998;  // a line's length (RFC 5322, 2.1.1)

}  // namespace

std::optional<std::string_view> message_id(std::string_view body) {
    const FieldToken bracket = FieldTokens(body).next();
    if (!bracket.is('<')) {
        return std::nullopt;
    }
    body.remove_prefix(static_cast<std::size_t>(bracket.text.data() - body.data()));
    const std::size_t end = std::min(body.find('>'), body.size() - 1);
    const std::string_view id = body.substr(0, end + 1);
    if (!is_message_id(id) ||
        FieldTokens(body.substr(end + 1)).next().kind != FieldToken::Kind::kEnd) {
        return std::nullopt;
    }
    return id;
}

std::string message_id(const HeaderFields& header) {
    const auto body = header.first("Message-ID");
    return std::string(body ? message_id(*body).value_or("") : "");
}

bool is_message_id(std::string_view id) {
    if (id.size() > kLongestId || !id.starts_with('<') || !id.ends_with('>') || id.size() < 2) {
        return false;
    }
    id = id.substr(1, id.size() - 2);
    const std::size_t at = id.find('@');
    return at != std::string_view::npos && at > 0 && id.back() != '@' &&
           std::ranges::all_of(id,
                               [](char c) { return c > ' ' && c <= '~' && c != '<' && c != '>'; });
}

}  // namespace autoresponder
