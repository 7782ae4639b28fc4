// SPDX-License-Identifier: Apache-2.0

#pragma once

/// The names of the run's two temporary files, and the one end of a run. MessageCopy and ReplyFile
/// own the files. The names are process-wide because the handler of a signal removes the files,
/// too.
namespace autoresponder {

/// The copy of the incoming message, and the reply. They start out as templates for mkstemp(3),
/// which turns them into the names of the files made.
extern char mail_file_name[];
extern char resp_uu_file_name[];

/// Unlinks both files, those that were never made included. Async-signal-safe.
void remove_temporary_files() noexcept;

/// Ends every run: removes the temporary files and exits with status 0, so that the mail system
/// treats the delivery as successful, whatever happened.
[[noreturn]] void correct_exit();

}  // namespace autoresponder
