// SPDX-License-Identifier: Apache-2.0

#include "core/run/settings.h"

#include "support/ascii.h"
#include "support/conf.h"

namespace autoresponder {

namespace {

bool is_on(const char* name) {
    const char* value = tvaConfGet(name);
    return value != nullptr && tolva::equals_ignoring_case(value, "true");
}

}  // namespace

Settings read_settings() {
    // A look-up of a variable would try to load the file again, and report the failure again.
    if (autoprepend() != 0) {
        return {};
    }
    return {.audience =
                is_on("AUTORESPONDER_ONLY_PEOPLE") ? Audience::kOnlyPeople : Audience::kEverybody,
            .verdicts = is_on("AUTORESPONDER_VERDICTS")};
}

}  // namespace autoresponder
