/* SPDX-License-Identifier: Apache-2.0 */

/* Starting another program that runs alongside the caller, with its standard streams connected to
 * descriptors of the caller: vfork(2), dup2(2), execv(3).
 *
 * These two functions do not wait for the program: that (waitpid(2)), and judging its exit status,
 * is up to the caller. exec_run.h has the functions that wait, exec_output.h those that collect
 * what the program writes, exec_utility.h those for the panel's own utilities. None of them throws.
 *
 * The standard streams. 0 for fd_in, 1 for fd_out and 2 for fd_err: the child inherits that stream
 * as it is. -1: /dev/null. Any other value: a descriptor of the caller, which becomes the child's
 * stream; it stays open in the caller. A descriptor is closed in the child as soon as it has become
 * a stream, so the same descriptor must not be passed for two of them (dup(2) it first). A standard
 * descriptor wanted in another's slot (2 for fd_out, say) is not closed: it is copied before any
 * slot is filled, and stays in its own.
 *
 * The child gets no descriptor besides these three, SIGPIPE at its default even if the caller
 * ignores it, and the caller's environment, signal mask and working directory. None of the caller's
 * atexit(3) functions and signal handlers runs in it, and no pending stdio output is written.
 *
 * When the child cannot become the program it writes one of
 *     fork_execv: dup() failed: <reason>
 *     fork_execv: execv("<path>") failed: <reason>
 * to its standard error and ends with status 255; the caller learns of it when it waits.
 */
#ifndef SUPPORT_EXEC_H
#define SUPPORT_EXEC_H

#ifdef __cplusplus
extern "C" {
#endif

/* Starts path (no search in PATH) with the arguments argv, argv[0] included, up to a null pointer.
 * Returns the child's process id. When no process can be made, reports "fork_execv_pipes: fork()
 * failed" through messlog2 with status 1, which ends the process; if messlog_set_end has it return,
 * the result is -1 with the errno of vfork(2). */
int fork_execv_pipes(int fd_in, int fd_out, int fd_err, const char* path, char* const argv[]);

/* The same with the arguments, argv[0] included, as a list of const char* that a null pointer ends.
 * When there is no memory for the argument vector, reports "malloc() failed: <reason>" through
 * messlog2 with status 1; if that returns, the result is -1 with errno ENOMEM. */
int fork_execl_pipes(int fd_in, int fd_out, int fd_err, const char* path, ...)
    __attribute__((sentinel));

#ifdef __cplusplus
}
#endif

#endif
