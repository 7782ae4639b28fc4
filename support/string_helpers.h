/* SPDX-License-Identifier: Apache-2.0 */

/* Small helpers for C strings, memory and command lines. What goes wrong is reported through
 * messlog2 (support/log.h). White space and letter case are those of isspace(3) and tolower(3).
 * Strings passed must not be null unless stated otherwise. None of the functions throws.
 */
#ifndef SUPPORT_STRING_HELPERS_H
#define SUPPORT_STRING_HELPERS_H

#include <stdarg.h>
#include <stddef.h>
#include <string.h> /* IWYU pragma: export */

#ifdef __cplusplus
extern "C" {
#endif

/* Replaces every byte from by to, in place, or, if out is not null, in a copy that is written to
 * out (strlen(str) + 1 bytes; str does not change). The terminating zero is never replaced.
 * Returns the string written: out or str. */
char* tolva_chch(char* str, char* out, int from, int to);

/* Lowers str in place, byte by byte, and returns it. */
char* strtolower(char* str);

/* A lowered copy of s, for the caller to free(3), or null for null. When there is no memory,
 * reports "System error: %s\n" and returns null, as strdup(3) does, with errno ENOMEM. */
char* strtolower_dynamic(const char* s);

/* Removes white space from both ends of str, in place: what remains is moved to the beginning.
 * Returns str, or null for null. */
char* tolva_trim(char* str);

/* Copies src to dst with every occurrence of what, from left to right and without overlap, replaced
 * by with. At most n bytes are written, the terminating zero included, and dst is terminated
 * whenever n is not 0. An empty what occurs nowhere. dst must not overlap the other strings.
 *
 * Returns dst. If the result does not fit, dst holds as much of its beginning as does; then, as
 * getcwd(3) does, returns null with errno ERANGE, after reporting "strn_replace(): %s\n". */
char* strn_replace(char* src, char* dst, const char* what, const char* with, unsigned n);

#ifndef SUPPORT_HAVE_STRLCPY
/* Copies at most size - 1 bytes of src to dst and terminates it, unless size is 0. Returns
 * strlen(src): the copy was cut if that is not below size. As in BSD and in POSIX.1-2024, for C
 * libraries that lack it. */
size_t strlcpy(char* dst, const char* src, size_t size);
#endif

/* vasprintf(3) and asprintf(3): format into a string that the caller has to free(3) and return its
 * length. On failure they report "Cannot allocate memory: %s" with the text of errno, set *out to
 * null and return -1. */
int vasprintf_safe(char** out, const char* format, va_list args)
    __attribute__((format(printf, 2, 0)));
int asprintf_safe(char** out, const char* format, ...) __attribute__((format(printf, 2, 3)));

/* malloc(3) and realloc(3) for programs that cannot continue without memory: on failure they report
 * "alloc(%d)" with the size and end the process with status 1, even if the function set by
 * messlog_set_end returns. They never return null, not even for size 0 (a block that realloc_safe
 * is to shrink to 0 is kept). */
void* malloc_safe(size_t size);
void* realloc_safe(void* block, size_t size);

/* If not as many command line parameters were given as were used, reports "Some parameters in
 * command string leave unprocessed. Check parameters please." and ends the process with status 1
 * (returns only if the function set by messlog_set_end does). */
void check_unprocessed_parameters(int used, int given);

/* Whether a command line parameter is there: present is not 0 and value is neither null nor empty.
 * One more argument is required, a const char*: the parameter's name. Returns 0, or, after
 * reporting "Miss parameter '%s' or previos parameter empty.\n" with the name, -1. */
int check_parameter(int present, char* value, ...);

#ifdef __cplusplus
}
#endif

#endif
