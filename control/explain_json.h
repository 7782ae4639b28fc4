#pragma once

#include <string>

#include "control/explanation.h"

/// The explanation as a JSON object, one line without its end (RFC 8259). The manual page describes
/// its members. Bytes that are not UTF-8 become U+FFFD.
std::string to_json(const Explanation& explanation);
