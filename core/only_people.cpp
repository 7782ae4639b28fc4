#include "core/only_people.h"

#include "core/diagnostics.h"
#include "core/letter_case.h"
#include "support/conf.h"

bool answers_only_people() {
    const char* value = tvaConfGet("AUTORESPONDER_ONLY_PEOPLE");
    return value != nullptr && equals_ignoring_case(value, "true");
}

void report_not_answered(std::string_view reason) {
    report("autoresponder: Not answered: ", reason);
}
