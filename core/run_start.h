#pragma once

/// Makes the process safe to run in, whatever started it; called once, before anything is opened.
///
/// - Standard input, output and error that are closed are opened on /dev/null, so that no file
///   opened later takes a standard descriptor.
/// - A program that was given privileges by its file (a set-user-ID or set-group-ID bit, or
///   capabilities) keeps nothing of its caller's environment but RESP_RECIPIENT: variables can make
///   libraries load plugins or behave differently.
/// - Signals that end a process, crashes and overflows of the stack included, remove the temporary
///   files and end it with status 0 (see correct_exit); those that were ignored stay ignored.
/// - A closed pipe and an exceeded file size fail the write; they do not end the process. Programs
///   started later find the default for both.
void prepare_run();
