/* SPDX-License-Identifier: Apache-2.0 */

/* Messages of the support library, and a second log that can be filtered by level.
 *
 * messlog2 and its kin write a message to standard error and to standard output, with the base name
 * of PROGNAME in front, and end the process if the status given is not zero. tolva_log and
 * tolva_logv write to the console or to syslog, as tolva_log_init chose. None of the functions
 * throws.
 */
#ifndef SUPPORT_LOG_H
#define SUPPORT_LOG_H

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The program's name as it was invoked (argv[0]), or null for messages without a prefix. The text
 * belongs to the program that sets it and is not changed here. */
extern const char* PROGNAME;

/* Reports a message as printf(3) formats it and ends the process with status unless that is 0.
 *
 * When errno is not 0 at the call, "\nSystem error %d: %s" with its number and text follows the
 * message if the buffer has room for all of that: 4096 bytes, or just the message if it is longer.
 * errno is the same after the call as before. flag is not used. Without memory for the buffer, a
 * fixed text is reported instead; for more than 4096 bytes, the beginning of the message. */
void messlog2(int status, int flag, const char* format, ...) __attribute__((format(printf, 3, 4)));
void vmesslog2(int status, int flag, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));

/* Writes a finished text to standard error and then to standard output: "<base name of PROGNAME>: "
 * if PROGNAME is set, the text, and a line feed unless the text ends with one; each stream is
 * flushed. Then ends the process unless status is 0. Returns status: 0, or another value if the end
 * function returned. flag is not used, text is not changed. */
int ex_messlog(char* text, int status, int flag);

/* What happens after a message whose status is not zero. The default is exit(status). A program
 * that has to finish its work all the same sets another function; when that returns, so does the
 * function that reported (except malloc_safe and realloc_safe, which have nothing to return and
 * exit). It must not throw. Returns the function that was set before; null sets the default
 * again. */
typedef void (*messlog_end_function)(int status);
messlog_end_function messlog_set_end(messlog_end_function end);

/* Chooses where tolva_log and tolva_logv write.
 *
 * target null: syslog(3), opened with ident, options | LOG_PID and facility; the level of a message
 *   is its priority, and level does not filter. ident is kept by pointer, as openlog(3) does, and
 *   must not change.
 * target beginning with "console", in any letter case: _tolva_utility_log and _tolva_utility_logv,
 *   which write messages up to level.
 * another target, or a level below 1: the console, disabled: nothing is written, whatever the
 *   message's level. This is also the state before the first call. */
void tolva_log_init(const char* target, int level, int facility, int options, const char* ident);

/* The log as tolva_log_init set it; never null. Messages are formatted as by printf(3). */
extern void (*tolva_log)(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
extern void (*tolva_logv)(int level, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

/* If tolva_log_init has enabled the log and its level is at least level, writes the message and a
 * line feed to standard error and then to standard output, and flushes each. */
void _tolva_utility_log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
void _tolva_utility_logv(int level, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

#ifdef __cplusplus
}
#endif

#endif
