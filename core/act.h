// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <mimelib/mimepp.h>

#include "core/run/settings.h"
#include "support/result.h"

/// The autoresponder's own ending of the walk: it counts, sends, and waits for the mail program.
namespace autoresponder {

struct Mail_content;
struct Story;

/// Walks through the story of the message `text` (core/walk.h) and acts at its steps. `copy_whole`
/// is whether the copy of the message is whole. Throws as walk does.
void act(DwString text, Audience audience, tolva::Result<void> copy_whole, Story& story);

/// Answers `mail`, which would not make a loop: finds the recipient's mailbox in the panel's
/// database and sends the reply of each of its responders that is on, matches the message and may
/// answer this sender once more today. Everybody is answered.
///
/// For tools of the panel that have a message already; to be called once in a process, because the
/// placeholders of subjects stay those of the first message. Returns 0 when the last responder has
/// been handled. Throws EndOfRun if the database cannot be reached or a statement fails.
int db_mail_act(Mail_content* mail);

}  // namespace autoresponder
