/* Messages of the support library, and a second log that can be filtered by level.
 *
 * messlog2 and its kin write a message to standard error and to standard output, with the base name
 * of PROGNAME in front, and end the process when the status given is not zero. tolva_log and
 * tolva_logv go to the console or to syslog, as tolva_log_init chose.
 */
#ifndef SUPPORT_LOG_H
#define SUPPORT_LOG_H

#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The program's name as it was invoked (argv[0]), or null for messages without a prefix. The text
 * belongs to the program that sets it. */
extern const char* PROGNAME;

void messlog2(int status, int flag, const char* format, ...) __attribute__((format(printf, 3, 4)));
void vmesslog2(int status, int flag, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));
int ex_messlog(char* text, int status, int flag);

/* What happens behind a message whose status is not zero. The default is exit(status). A program
 * that has to see its work through all the same sets a function of its own; when that returns, the
 * function that reported returns too. Gives the function that was set before; null sets the default
 * again. */
typedef void (*messlog_end_function)(int status);
messlog_end_function messlog_set_end(messlog_end_function end);

void tolva_log_init(const char* target, int level, int facility, int options, const char* ident);
extern void (*tolva_log)(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
extern void (*tolva_logv)(int level, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));
void _tolva_utility_log(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
void _tolva_utility_logv(int level, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));

#ifdef __cplusplus
}
#endif

#endif
