// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <string_view>

/// Text for the person at the terminal.
namespace autoresponder::control {

enum class Colour { kNone, kGood, kBad, kUnsure, kStrong };

/// `text` in that colour where standard output is a terminal that shows colours (NO_COLOR and
/// TERM=dumb ask for none), else as it is.
std::string coloured(std::string_view text, Colour colour);

/// `text` with everything spelt out that could move the cursor or hide: control characters as "\n",
/// "\t" or "\xNN", and so are bytes that are not UTF-8.
std::string printable(std::string_view text);

}  // namespace autoresponder::control
