// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

#include <mimelib/mimepp.h>

#include "control/explanation.h"

namespace autoresponder::control {

/// Finds out what the autoresponder would do with the message `text`, sent to `recipient`, by
/// calling what it calls, short of sending, counting and leaving files. Where `mail_directory` is
/// given, writes there each mail that would be handed over. Throws Failure when it cannot; a
/// database that cannot be asked is an explanation with the answer kCannotTell.
Explanation explain(const DwString& text, const std::string& recipient,
                    const std::optional<std::string>& mail_directory);

}  // namespace autoresponder::control
