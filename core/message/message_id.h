// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace autoresponder {

class HeaderFields;

/// The message identifier in the body of a Message-ID field, with its angle brackets, as a slice;
/// null unless it is well formed (see is_message_id) and the body contains nothing else but white
/// space and comments.
std::optional<std::string_view> message_id(std::string_view body);

/// That of the first Message-ID field; empty if there is none, or if it is not well formed.
std::string message_id(const HeaderFields& header);

/// Whether `id` can stand in the header of another message: one "@" at least between two angle
/// brackets, printable ASCII throughout, no more than 998 bytes.
bool is_message_id(std::string_view id);

}  // namespace autoresponder
