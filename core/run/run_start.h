// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/result.h"

namespace autoresponder {

/// Opens /dev/null in place of standard input, output and error where they are closed: a file that
/// is opened later would take their descriptors, and get what is written to them. `access` is
/// O_RDWR, or O_PATH for a stream that can still be neither read nor written (open(2)). Yields why
/// /dev/null cannot be opened; then nothing else must be opened.
tolva::Result<void> open_standard_streams(int access);

/// Makes the process safe to run in, whatever started it; called once, before anything is opened.
///
/// - Standard streams that are closed are opened on /dev/null. Where that cannot be, the run ends
///   here (correct_exit), without a word.
/// - A program that was given privileges by its file (a set-user-ID or set-group-ID bit, or
///   capabilities) keeps nothing of its caller's environment but RESP_RECIPIENT: variables can make
///   libraries load plugins or behave differently.
/// - Signals are handled (core/run/signals.h).
void prepare_run();

}  // namespace autoresponder
