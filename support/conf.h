/* SPDX-License-Identifier: Apache-2.0 */

/* The panel's installation paths: the variables of "/etc/tva/tva.conf", with compiled defaults.
 *
 * The file is loaded once, by the first call that needs it. As long as that fails, every call tries
 * again. The strings returned belong to the configuration: they stay valid to the end of the
 * process and must not be freed. None of the functions throws.
 *
 * The indices of the variables are in support/conf_variables.h. For reading other files of this
 * kind see support/conf_table.h, which this header includes.
 */
#ifndef SUPPORT_CONF_H
#define SUPPORT_CONF_H

#include "support/conf_table.h" /* IWYU pragma: export */

#ifdef __cplusplus
extern "C" {
#endif

/* The path of the file. */
const char* tvaConfPath(void);

/* Loads the configuration file. Returns 0 if it is loaded, now or before; -1 if that fails, which
 * conf_read_file_r reports, or messlog2 ("Not enough memory to allocate Tolva runtime configuration
 * structure\n"). */
int autoprepend(void);

/* The file's value of the variable called name, or null if the file does not define it or cannot be
 * loaded. name must not be null; it need not be a variable that has an index. */
const char* tvaConfGet(const char* name);

/* The same for the variable with that index, an enum tva_conf_variable: it is not checked. */
const char* tvaConfGetByIndex(int index);

/* The same, with the compiled default where the file defines none: never null. */
const char* tvaConfGetDefaultByIndex(int index);

/* The same by name; null, after messlog2 reports "variable '%s' isn't found neither in %s nor in
 * compile-time defaults\n" (name and file), for a name that has no index, whether or not the file
 * defines it. _MAX_POSSIBLE_TVA_CONF_VAR_NAME counts as such a name. */
const char* tvaConfGetDefault(const char* name);

#ifdef __cplusplus
}
#endif

#endif
