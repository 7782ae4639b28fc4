#include "tests/unit/support/c_interface.h"

#include <stdlib.h>
#include <string.h>
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

int c_reads_a_configuration(const char* path, const char* name, const char* value) {
    struct conf_table* table = conf_new_r();
    if (table == NULL) {
        return 0;
    }
    const char* found = conf_read_file_r(path, table) == 0 ? conf_get_r(name, table) : NULL;
    const int right = found != NULL && strcmp(found, value) == 0 && table->count == 1;
    conf_free_r(table);
    return right;
}

int c_replaces_a_placeholder(void) {
    struct par_templ table[] = {{"b", "2"}, {"a", "1"}};
    struct repl_ctl control = {0, 0, TEMPL_STOP_BEFORE_VALUE | TEMPL_KEEP_UNKNOWN, 0};
    char output[16];
    templ_quick_sort(table, 2);
    templ_replace('<', '>', table, 2, "<a><b><c>", output, sizeof(output) - 1, &control);
    return templ_found("b", table, 2) == 1 && strcmp(output, "12<c>") == 0 &&
           control.source_consumed == 9 && control.result_flags == TEMPL_KEPT_UNKNOWN;
}

int c_uses_string_helpers(void) {
    char text[] = " A-B ";
    char copy[8];
    char* formatted = NULL;
    strtolower(tolva_chch(tolva_trim(text), NULL, '-', '+'));
    const int right = strlcpy(copy, text, sizeof(copy)) == 3 &&
                      asprintf_safe(&formatted, "%s", copy) == 3 && strcmp(formatted, "a+b") == 0;
    free(formatted);
    return right && check_parameter(1, copy, "name") == 0;
}

static int ended_with = 0;

static void note_end(int status) {
    ended_with = status;
}

int c_reports_and_goes_on(void) {
    char text[] = "finished";
    const messlog_end_function before = messlog_set_end(note_end);
    PROGNAME = "c/interface";
    messlog2(4, 0, "%d", 4);
    const int status = ex_messlog(text, 5, 0);
    messlog_set_end(before);
    tolva_log_init("console", 2, 0, 0, "c");
    tolva_log(2, "%s", tvaConfGetDefault("_MIN_POSSIBLE") == NULL ? "null" : "not null");
    return status == 5 && ended_with == 5;
}

int c_runs_programs(void) {
    char* output = NULL;
    int right = fork_execl_getout(&output, "/bin/echo", "echo", "from C", (char*)NULL) == 0 &&
                strcmp(output, "from C\n") == 0;
    free(output);
    right = right && fork_execl_pipes(-1, 1, 2, "/bin/true", "true", (char*)NULL) > 0;
    return right && wait(NULL) > 0 && fork_execv("/bin/true", "true", (char*)NULL) == 0 &&
           fork_execl_log("/bin/true", "true", (char*)NULL) == 0;
}

int c_uses_the_database_library(void) {
    char escaped[5];
    db_library_init();
    return mysql_escape_string(escaped, "'a", 2) == 3 && tolva_db_mysql41_compatible_raw() == -1 &&
           escape_mysql_param(NULL, NULL) == NULL;
}
