// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>

#include <mimelib/mimepp.h>

#include "core/run/settings.h"

namespace autoresponder {

class Ending;
struct Story;

/// Walks through the story of one message, from its text to the last responder of the mailbox, and
/// writes down in `story` what it finds out and decides. `ending` gives what is done at its steps.
///
/// `story.recipient` is set by the caller. Throws EndOfRun when a statement fails, and
/// std::exception.
void walk(DwString text, Audience audience, Story& story, Ending& ending);

/// The second half, from the mailbox on, for a message that would not make a loop. Everybody is
/// answered.
void walk_mailbox(Story& story, Ending& ending);

/// The end of a message that cannot be answered at all: reports the line `objection`
/// and "Abnormal exit."
void give_up(Story& story, const char* objection);

/// Calls `steps`. Whatever they throw is reported on standard error and breaks the story off.
void tell(Story& story, const std::function<void()>& steps);

}  // namespace autoresponder
