#pragma once

/// The names of the run's two temporary files. MessageCopy and ResponseFile own the files; nobody
/// else uses the names but the clean-up at the end of a run and in a signal handler, which is why
/// they are process-wide.

/// The copy of the incoming message, and the reply. They start out as templates for mkstemp(3),
/// which turns them into the names of the files made.
extern char mail_file_name[];
extern char resp_uu_file_name[];

/// Unlinks both files, those that were never made included. Async-signal-safe.
void remove_temporary_files() noexcept;
