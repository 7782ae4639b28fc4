/* SPDX-License-Identifier: Apache-2.0 */

/* Running the panel's own utilities to their end.
 *
 * Results are those of system(3): the status of the program as from waitpid(2) (WIFEXITED,
 * WEXITSTATUS, WIFSIGNALED, ...), or -1 with errno when it could not be started or waited for.
 * Reports go through messlog2 and never end the process. None of the functions throws.
 *
 * Arguments are a whole argument vector as for execv(3), argv[0] included, or the same as a list of
 * const char* that a null pointer ends. What exec.h says about the child holds here.
 */
#ifndef SUPPORT_EXEC_UTILITY_H
#define SUPPORT_EXEC_UTILITY_H

#ifdef __cplusplus
extern "C" {
#endif

/* Run path with the caller's standard input, keep what it writes to standard output and standard
 * error, and report it, in that order, if the program ends with a status other than 0:
 *     <path> execution failed:\n<output>
 *     <path> execution failed (no output)
 * The latter also when it could not be run, after what fork_execv_getouterr reports. */
int fork_execv_log(const char* path, char* const argv[]);
int fork_execl_log(const char* path, ...) __attribute__((sentinel));

/* Run the utility of that name in admin/bin below the panel's directory (the configuration's
 * PRODUCT_ROOT_D), as do_exec does. A name that is null, empty, "." or "..", or has a "/" in it is
 * refused: -1 with errno EINVAL, and
 *     Utility name '<name>' is invalid. Use only utility name without path.
 * When there is no memory for the path or the arguments: "malloc() failed: <reason>". */
int util_exec_args(const char* name, char* const argv[]);
int util_exec(const char* name, ...) __attribute__((sentinel));

/* Runs the program of that name below /usr/lib/tolva-9.0, as do_exec does; the name may have
 * directories in it. For a null name the result is -1 with errno EINVAL. When there is no memory
 * for the path or the arguments: "malloc() failed: <reason>". */
int util_libexec(const char* name, ...) __attribute__((sentinel));

#ifdef __cplusplus
}
#endif

#endif
