// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

/// Reads `header` with core/ and with the naive reader, and checks what has to hold for any header:
/// both read the same fields, tokens, addresses and message identifiers and come to the same
/// reason, nothing is copied, and neither letter case nor the kind of line end changes a reason.
/// The sender is the body of its From field. Returns what does not hold; empty if all does.
std::string disagreement(const std::string& header);
