/* SPDX-License-Identifier: Apache-2.0 */

/* Running another program to its end and collecting what it writes.
 *
 * The text collected is all that was written, whatever bytes, followed by a NUL; the caller frees
 * it with free(3). After a failure (result -1) it is null. The pointers that take it must not be
 * null unless stated otherwise. Collecting ends when every process that holds the stream has closed
 * it or ended, as with popen(3).
 *
 * Results are those of system(3) and pclose(3): the status of the program as from waitpid(2)
 * (WIFEXITED, WEXITSTATUS, WIFSIGNALED, ...), or -1 with errno. Only that program is waited for,
 * even after a failure. Reports go through messlog2 and never end the process. None of the
 * functions throws.
 *
 * Arguments are a whole argument vector as for execv(3), argv[0] included, or the same as a list of
 * const char* that a null pointer ends. What exec.h says about the child holds here (but not for
 * popen_exec and popen_exec_getoutput, which are popen(3)).
 */
#ifndef SUPPORT_EXEC_OUTPUT_H
#define SUPPORT_EXEC_OUTPUT_H

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): C, too */

#ifdef __cplusplus
extern "C" {
#endif

/* Runs a command of the shell with popen(3) and collects its standard output. Reports, each
 * followed by a line feed:
 *     popen_exec: failed to allocate memory
 *     popen_exec: failed to execute command: fork or pipe calls failed, or cannon allocate memory
 *     popen_exec: warning: failed to allocate memory for command output buffer
 *     fork_exec*: read(pipe) failed: <reason>
 * After the warning the command runs on, and the output is what was collected until then; after a
 * failed read the result is -1. */
int popen_exec_getoutput(char** output, const char* command);

/* Runs a command of the shell and does not keep its output. Reports, each followed by a line feed:
 *     popen_exec: command failed code: <code> , <output, or "error: none" if there is none>
 *     popen_exec: failed to execute command: <command>
 * when it ends with a status other than 0 (code is its exit status, or 128 + the number of the
 * signal that ended it), and when it could not be run. */
int popen_exec(const char* command);

/* Runs path with the caller's standard input and error and collects its standard output. Reports
 *     Cannot fork():\n<reason>
 *     Cannot allocate buffer:\n<reason>          the argument vector and the pipe included
 *     Cannot read child output:\n<reason>
 *     utility <path> failed (result=<exit status>):\n<output>
 *     utility <path> killed (signal <number>):\n<output>
 *     utility <path> crashed (status <status>):\n<output>   killed, with a core file written
 *     error:\n<reason>                           it could not be waited for
 * A child that cannot become the program says "Cannot exec <path>:\n<reason>" on its standard
 * error and ends with status 255. */
int fork_execv_getoutput(char** output, const char* path, ...) __attribute__((sentinel));

/* Reads a descriptor to the end of a text, which grows as needed: *buf is a block of *capacity
 * bytes from malloc(3) whose first *length bytes are used, or null to begin with. All three are
 * updated, also on failure, and the caller frees *buf with free(3). The text may hold zero bytes
 * and is followed by a NUL.
 *
 * Returns 0 at end of file and 1 when a non-blocking descriptor has nothing more for now. On
 * failure keeps what was read before, returns -1 with errno and reports one of
 *     Cannot allocate memory
 *     fork_exec*: read(pipe) failed: <reason> */
int read_to_buf(int fd, char** buf, size_t* length, size_t* capacity);

/* Run path with the caller's standard input and collect its standard output and standard error, for
 * as long as both last, through two non-blocking pipes; a null pointer for out or err connects that
 * stream to /dev/null. Report
 *     fork_execv_getouterr: pipe() failed
 *     fork_execv_getouterr: fcntl(O_NONBLOCK) failed
 *     fork_execv_pipes: fork() failed
 *     fork_exec*: read(pipe) failed: <reason>    or poll(2) failed
 *     malloc() failed: <reason>                  no memory for the arguments of the list
 * and what read_to_buf reports. */
int fork_execv_getouterr(char** out, char** err, const char* path, char* const argv[]);
int fork_execl_getouterr(char** out, char** err, const char* path, ...) __attribute__((sentinel));

/* The same for standard output alone; standard error is the caller's. */
int fork_execv_getout(char** out, const char* path, char* const argv[]);
int fork_execl_getout(char** out, const char* path, ...) __attribute__((sentinel));

#ifdef __cplusplus
}
#endif

#endif
