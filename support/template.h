#ifndef SUPPORT_TEMPLATE_H
#define SUPPORT_TEMPLATE_H

#ifdef __cplusplus
extern "C" {
#endif

struct par_templ {
    const char* name;
    const char* value;
};

enum {
    TEMPL_STOP_BEFORE_VALUE = 1,
    TEMPL_KEEP_UNKNOWN = 2
};

struct repl_ctl {
    int source_consumed;
    int output_length;
    int input_flags;
    int result_flags;
};

char* templ_replace(char opening, char closing, const struct par_templ* table, unsigned long count,
                    const char* source, char* destination, unsigned long size,
                    struct repl_ctl* control);
int templ_found(const char* name, const struct par_templ* table, int count);
void templ_quick_sort(struct par_templ* table, int count);
void qs(struct par_templ* table, int low, int high);

#ifdef __cplusplus
}
#endif

#endif
