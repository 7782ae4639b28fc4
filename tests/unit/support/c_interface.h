/* What a program in C makes of the library. Each function returns whether it went as it should. */
#ifndef TESTS_UNIT_SUPPORT_C_INTERFACE_H
#define TESTS_UNIT_SUPPORT_C_INTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

int c_reads_a_configuration(const char* path, const char* name, const char* value);
int c_replaces_a_placeholder(void);
int c_uses_string_helpers(void);
int c_reports_and_goes_on(void);
int c_runs_programs(void);
int c_uses_the_database_library(void);

#ifdef __cplusplus
}
#endif

#endif
