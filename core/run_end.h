#pragma once

#include <string_view>

/// The run's two temporary files and the ways out of the program. Whatever happens, the files are
/// removed and the exit status is 0, so that the mail system takes the delivery as done.

/// Names of the copy of the incoming message and of the reply. They start out as templates for
/// mkstemp(3), which turns them into the names of the files made.
extern char mail_file_name[];
extern char resp_uu_file_name[];

/// Puts the template back into `resp_uu_file_name`, for the next reply of the run.
void reset_resp_uu_file_name();

/// Unlinks both files, those that were never made included. Safe in a signal handler.
void remove_temporary_files() noexcept;

/// The end of every run: removes the temporary files and exits with status 0.
[[noreturn]] void correct_exit();

/// Ends the run early: writes `message` and a line end to standard error, then correct_exit.
[[noreturn]] void end_run(std::string_view message);
