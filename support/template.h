/* SPDX-License-Identifier: Apache-2.0 */

/* Substitution of named placeholders in a text.
 *
 * A placeholder is an opening character, a name of 1 to 32 bytes and a closing character; the
 * caller chooses the two characters. Names and values come from a table that is sorted by name
 * (templ_quick_sort). Texts are byte strings: encodings do not matter here. Nothing is allocated or
 * thrown, and the time taken grows linearly with the source and the output. The functions keep no
 * state.
 */
#ifndef SUPPORT_TEMPLATE_H
#define SUPPORT_TEMPLATE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One placeholder. The texts belong to the caller. */
struct par_templ {
    const char* name;  /* never null; compared bytewise, as strcmp does */
    const char* value; /* null: the placeholder is replaced by nothing */
};

/* The longest name that a placeholder can have, in bytes. */
enum { TEMPL_MAX_NAME = 32 };

/* Bits of repl_ctl.input_flags. */
enum {
    TEMPL_STOP_BEFORE_VALUE = 1, /* write nothing of a value that does not fit */
    TEMPL_KEEP_UNKNOWN = 2       /* keep placeholders of unknown names as literal text */
};

/* Bits of repl_ctl.result_flags. */
enum {
    TEMPL_STOPPED_BEFORE_VALUE = 1, /* the output ends before a value that did not fit */
    TEMPL_KEPT_UNKNOWN = 2          /* at least one unknown placeholder was kept */
};

/* What templ_replace is given and what it reports. Lengths are in bytes; one that does not fit in
 * 31 bits is reported modulo 2^32, so keep sources and destinations below 2 GiB. */
struct repl_ctl {
    int32_t source_consumed; /* out: how much of the source the output accounts for */
    int32_t output_length;   /* out: how much was written to the destination */
    int32_t input_flags;     /* in */
    int32_t result_flags;    /* out */
};

/* Copies source to destination, each placeholder replaced by its value; returns destination.
 *
 * At most size bytes of text are written, but destination must hold size + 1: a zero may follow
 * them. An output that was cut at size, or whose literal end falls on size, is not followed by a
 * zero, nor is one that TEMPL_STOP_BEFORE_VALUE ended: set destination[control->output_length] = 0
 * to get a C string in every case.
 *
 * An opening character that opens no placeholder (no closing character among the 33 bytes after
 * it, an empty name, the end of the text) is literal, and so is every byte that was looked at to
 * find that out: none of those opens a placeholder. Values are copied unchanged, never searched.
 * Placeholders of unknown names are removed unless TEMPL_KEEP_UNKNOWN is given.
 *
 * If the output had to be cut, source_consumed counts the literal bytes written up to there; a
 * value cut in the middle counts its whole placeholder; with TEMPL_STOP_BEFORE_VALUE the rest of
 * the source begins at the placeholder's opening character.
 *
 * The output is empty, and nothing is consumed, if source is null or empty or if size or count
 * is 0. A null table with another count is one in which every name is unknown. control must not be
 * null; only its input_flags are read. */
char* templ_replace(char opening, char closing, const struct par_templ* table, unsigned long count,
                    const char* source, char* destination, unsigned long size,
                    struct repl_ctl* control);

/* The index of the entry called name in a table sorted by name, or -1; also -1 for a null name, a
 * null table or a count below 1. Of entries with the same name any may be found. */
int templ_found(const char* name, const struct par_templ* table, int count);

/* Sorts a table by name, ascending by strcmp, in place; a count below 1 does nothing. Entries with
 * the same name end in no particular order. */
void templ_quick_sort(struct par_templ* table, int count);

/* Sorts the entries low to high (both included, 0 <= low <= high). Recursive on the left part: the
 * depth is logarithmic for all but contrived tables, and linear in the worst case, so tables must
 * come from the program, not from outside. */
void qs(struct par_templ* table, int low, int high);

#ifdef __cplusplus
}
#endif

#endif
