// SPDX-License-Identifier: Apache-2.0

#include "tests/unit/support/c_interface.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include "support/conf.h"
#include "support/conf_variables.h"
#include "support/db.h"
#include "support/db_params.h"
#include "support/exec.h"
#include "support/exec_output.h"
#include "support/exec_run.h"
#include "support/exec_utility.h"
#include "support/log.h"
#include "support/string_helpers.h"
#include "support/template.h"

void c_read_configuration(const char* path, char* seen, size_t size) {
    struct conf_table* table = conf_new_r();
    const int result = conf_read_file_r(path, table);
    snprintf(seen, size, "%d, %zu entry: %s, index %d", result, table->count,
             conf_get_r("NAME", table), (int)TOLVA_MAILNAMES_D);
    conf_free_r(table);
}

void c_replace_placeholder(char* seen, size_t size) {
    struct par_templ table[] = {{"b", "2"}, {"a", "1"}};
    struct repl_ctl control = {0, 0, TEMPL_STOP_BEFORE_VALUE | TEMPL_KEEP_UNKNOWN, 0};
    char output[16];
    templ_quick_sort(table, 2);
    templ_replace('<', '>', table, 2, "<a><b><c>", output, sizeof(output) - 1, &control);
    snprintf(seen, size, "%s, %d consumed, result %d, b at %d", output,
             (int)control.source_consumed, (int)control.result_flags, templ_found("b", table, 2));
}

void c_use_string_helpers(char* seen, size_t size) {
    char text[] = " A-B ";
    char copy[8];
    char* formatted = NULL;
    strtolower(tolva_chch(tolva_trim(text), NULL, '-', '+'));
    const size_t length = strlcpy(copy, text, sizeof(copy));
    const int formatted_length = asprintf_safe(&formatted, "%s", copy);
    snprintf(seen, size, "%zu %d %s %d", length, formatted_length, formatted,
             check_parameter(1, copy, "name"));
    free(formatted);
}

static int ended_with = 0;

static void note_status(int status) {
    ended_with = status;
}

void c_report_and_go_on(char* seen, size_t size) {
    char text[] = "finished";
    const messlog_end_function before = messlog_set_end(note_status);
    PROGNAME = "c/interface";
    messlog2(4, 0, "%d", 4);
    const int status = ex_messlog(text, 5, 0);
    messlog_set_end(before);
    tolva_log_init("console", 2, 0, 0, "c");
    tolva_log(2, "%s", tvaConfGetDefault("_MIN_POSSIBLE") == NULL ? "null" : "not null");
    snprintf(seen, size, "%d %d", status, ended_with);
}

void c_run_programs(char* seen, size_t size) {
    char* output = NULL;
    const int collected = fork_execl_getout(&output, "/bin/echo", "echo", "from C", (char*)NULL);
    int status = -1;
    const int pid = fork_execl_pipes(-1, 1, 2, "/bin/true", "true", (char*)NULL);
    waitpid(pid, &status, 0);
    snprintf(seen, size, "%d %s%d %d %d", collected, output, status,
             fork_execv("/bin/true", "true", (char*)NULL),
             fork_execl_log("/bin/true", "true", (char*)NULL));
    free(output);
}

void c_use_database_library(char* seen, size_t size) {
    char escaped[5];
    db_library_init();
    mysql_escape_string(escaped, "'a", 2);
    snprintf(seen, size, "%s %d %s", escaped, tolva_db_mysql41_compatible_raw(),
             escape_mysql_param(NULL, NULL) == NULL ? "null" : "not null");
}
