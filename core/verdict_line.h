// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace autoresponder {

struct Story;

/// The ending that records: what became of the message, as one line of the log, without its
/// newline:
///
///     autoresponder: Verdict: RECIPIENT from SENDER: 12 answered; 13 not answered, REASON
///
/// It is at most 599 bytes long: long addresses and the end of a long line are cut. Control
/// characters are "?".
std::string verdict_line(const Story& story);

}  // namespace autoresponder
