// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <mimelib/mimepp.h>

/// The MIME library's strings as those of the standard library; both may contain zero bytes.
namespace autoresponder {

inline std::string_view to_view(const DwString& text) {
    return {text.data(), text.length()};
}

inline std::string to_string(const DwString& text) {
    return std::string(to_view(text));
}

/// Moves the text out of `text`. Copies share one buffer, and there is no move: a large message
/// would stay in memory as long as anything that it was copied from.
inline DwString take(DwString& text) {
    return std::exchange(text, DwString());
}

}  // namespace autoresponder
