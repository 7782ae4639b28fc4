// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include <mimelib/mimepp.h>

// What the program wants to know of a message.
struct Reading {
    std::string sender_from = "none";  // "reply-to", "from" or "none"
    std::optional<std::string> from;
    std::optional<std::string> subject;
    std::optional<std::string> date;
    std::string kind = "none";  // "self", "part", "multipart-none" or "none"
    std::optional<unsigned> part;
    std::string charset = "US-ASCII";
    std::string body;

    bool operator==(const Reading&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Reading& reading);

inline std::string to_string(const DwString& text) {
    return {text.data(), text.length()};
}

inline DwString to_dw_string(std::string_view text) {
    return {text.data(), text.size()};
}

// Reads a message the way the program does, with the library.
Reading read_message(const DwString& text);
