/* SPDX-License-Identifier: Apache-2.0 */

/* What a program in C makes of the library. Each function writes what it saw to seen, a buffer of
 * that size. */
#ifndef TESTS_UNIT_SUPPORT_C_INTERFACE_H
#define TESTS_UNIT_SUPPORT_C_INTERFACE_H

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): C, too */

#ifdef __cplusplus
extern "C" {
#endif

void c_read_configuration(const char* path, char* seen, size_t size);
void c_replace_placeholder(char* seen, size_t size);
void c_use_string_helpers(char* seen, size_t size);
void c_report_and_go_on(char* seen, size_t size);
void c_run_programs(char* seen, size_t size);
void c_use_database_library(char* seen, size_t size);

#ifdef __cplusplus
}
#endif

#endif
