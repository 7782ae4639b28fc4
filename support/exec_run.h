/* SPDX-License-Identifier: Apache-2.0 */

/* Running another program to its end: its standard streams are the caller's or /dev/null.
 *
 * Results are those of system(3): the status of the program as from waitpid(2) (WIFEXITED,
 * WEXITSTATUS, WIFSIGNALED, ...), or -1 with errno when it could not be started or waited for. Only
 * that program is waited for; other children of the caller are left alone. Reports go through
 * messlog2 and never end the process. None of the functions throws.
 *
 * Arguments are a whole argument vector as for execv(3), argv[0] included, or the same as a list of
 * const char* that a null pointer ends. The program is found by path alone, not in PATH. What
 * exec.h says about the child holds here: no descriptors but the three standard streams, SIGPIPE at
 * its default, and, if it cannot become the program, a line on its standard error and exit status
 * 255. */
#ifndef SUPPORT_EXEC_RUN_H
#define SUPPORT_EXEC_RUN_H

#ifdef __cplusplus
extern "C" {
#endif

/* Runs path with the caller's standard streams. Reports "Unable to fork". */
int do_exec(const char* path, char* const argv[]);

/* The same with a list of arguments. When there is no memory for them: "malloc() failed: <reason>".
 */
int path_exec(const char* path, ...) __attribute__((sentinel));

/* Runs path with /dev/null as its three streams. Reports nothing. */
int fork_execv(const char* path, ...) __attribute__((sentinel));

/* Runs path with its input from fd_in and its output to fd_out, which are descriptors of the caller
 * other than 0, 1 and 2, or -1 for /dev/null; with 0, 1 or 2 the result is -1 with errno EINVAL.
 * Standard error is the caller's. A stopped child is reported and waited for until it ends.
 * Reports, each followed by a line feed:
 *     values 0,1,2 not allowed for variables fd_in & fd_out
 *     Error occured during waiting the child process with pid: <pid>: <reason>
 *     The child process with pid <pid> killed by signal <number>
 *     The child process with pid <pid> stopped by signal <number>
 * and, without one, "Error occured during fork():\n<reason>". The child says on its standard error
 * why it cannot become the program: "Error occured during execv():\n<reason>, possible reason -
 * NULL parameter is absent in util_exec(path, arg1, arg2, NULL) call.\n". */
int fork_execv_fd(int fd_in, int fd_out, const char* path, char* const argv[]);

#ifdef __cplusplus
}
#endif

#endif
