// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace autoresponder {

/// Makes the process safe to run in, whatever started it; called once, before anything is opened.
///
/// - Standard input, output and error that are closed are opened on /dev/null, so that no file
///   opened later takes a standard descriptor.
/// - A program that was given privileges by its file (a set-user-ID or set-group-ID bit, or
///   capabilities) keeps nothing of its caller's environment but RESP_RECIPIENT: variables can make
///   libraries load plugins or behave differently.
/// - Signals are handled (core/run/signals.h).
void prepare_run();

}  // namespace autoresponder
