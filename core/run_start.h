#pragma once

/// Makes the process safe to run in, whatever started it; called once, before anything is opened.
///
/// - Standard input, output and error that are closed are opened on /dev/null, so that no file of
///   the run comes to lie where a message to standard error would be written.
/// - A program that was given its privileges by a set-user-ID bit keeps nothing of its caller's
///   environment but RESP_RECIPIENT: libraries load plugins and change their ways by variables.
/// - Signals that end a process remove the temporary files and end it with status 0 (see
///   correct_exit); those that were ignored stay ignored.
/// - A closed pipe and an exceeded file size are errors of the write at hand, not the end of the
///   process. Programs started later find the default for both.
void prepare_run();
