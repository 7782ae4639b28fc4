/* SPDX-License-Identifier: Apache-2.0 */

/* A table of names and values that is read from a configuration file.
 *
 * Each line of the file defines one variable: its name (letters, digits and "_"), white space, and
 * a value, which runs to the end of the line or to the first "#" and has no white space at its end.
 * "#" begins a comment wherever it stands; there is no quoting. Lines may be of any length; a zero
 * byte ends a line's text. Of several definitions of a name the last one counts.
 *
 * The functions report failures to tolva_log (support/log.h) at level 12. None of them throws.
 */
#ifndef SUPPORT_CONF_TABLE_H
#define SUPPORT_CONF_TABLE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Both strings belong to the table and are from malloc(3). */
struct conf_entry {
    char* name;
    char* value;
};

/* conf_new_r makes a table, conf_free_r frees it. */
struct conf_table {
    struct conf_entry* entries; /* an array from malloc(3) */
    size_t capacity;            /* entries allocated */
    size_t count;               /* entries in use */
    int sorted;                 /* not 0: the entries are ordered by name */
};

/* A new table, without entries and all zero; null with errno ENOMEM when there is no memory. */
struct conf_table* conf_new_r(void);

/* Makes room for one more entry: 20 entries in a new table, and when a table is full, twice its
 * capacity, or, if that is no more than its count, 20 more than the count. Returns 0; without
 * memory, reports "Unable to read configuration: %s" and returns -1 with errno ENOMEM and the table
 * as it was. */
int conf_init_r(struct conf_table* table);

/* Sets the variable called name to a copy of value, which replaces the value it had. A name that is
 * new to the table is added at its end, which leaves the table unsorted. Returns 0; without memory,
 * reports (the text above, or "Unable to form configuration: %s") and returns -1 with errno ENOMEM
 * and the variables as they were. Takes time in proportion to the table's length. */
int conf_set_r(const char* name, const char* value, struct conf_table* table);

/* Sorts the table by cmp_conf. */
void conf_finalize_r(struct conf_table* table);

/* Reads the file at path into the table, over what it holds already, and sorts it.
 *
 * A line that defines nothing is reported and skipped:
 *   "Invalid variable definition %s\nExpected a space after variable name\n"
 *   "Invalid variable definition %s\nExpected a value"
 * with the line from the name on, its line feed included. Returns 0; on failure -1, with errno set,
 * after reporting
 *   "unable to open configuration file %s: %s\n" (path and the text of errno), or
 *   "Unable to read configuration file: %s" (when reading ended early; what came before that is in
 *   the table), or a failure of conf_init_r or conf_set_r (the table holds what fitted in). */
int conf_read_file_r(const char* path, struct conf_table* table);

/* The value of the variable called name, which belongs to the table, or null. The search is binary
 * in a sorted table and linear in any other. */
const char* conf_get_r(const char* name, const struct conf_table* table);

/* Frees the entries and the table itself; null does nothing. */
void conf_free_r(struct conf_table* table);

/* The order of two struct conf_entry, for qsort(3) and bsearch(3): strcmp(3) of their names. */
int cmp_conf(const void* left, const void* right);

#ifdef __cplusplus
}
#endif

#endif
