// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

/// The command "answered": whom the responders of a mailbox answered today.
namespace autoresponder::control {

/// Prints for each responder of the mailbox that `recipient` leads to whom it answered today, and
/// how often. Throws Failure, and EndOfRun if a statement fails.
void list_answered(const std::string& recipient);

/// Has the responders of the mailbox forget `sender`, or everybody if that is null, who is then
/// answered as if for the first time today, and prints how many rows that were. Throws as above.
void clear_answered(const std::string& recipient, const std::optional<std::string>& sender);

}  // namespace autoresponder::control
