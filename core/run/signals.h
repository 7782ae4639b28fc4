// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace autoresponder {

/// Handles signals so that none of them fails a delivery or leaves a file (signal(7)).
///
/// - Those that end a process, crashes and overflows of the stack included, remove the temporary
///   files, write a line to standard error and end the process with status 0; those that were
///   ignored stay ignored.
/// - A closed pipe and an exceeded file size fail the write; they do not end the process. Programs
///   started later find the default for both.
void handle_signals();

}  // namespace autoresponder
