// SPDX-License-Identifier: Apache-2.0

#pragma once

/// The administrator's choices in /etc/tva/tva.conf.
namespace autoresponder {

enum class Audience {
    kEverybody,   ///< all but loops (core/people/loop_and_daemon_check.h)
    kOnlyPeople,  ///< nor what a machine has sent (docs/whom-it-answers.md)
};

/// A setting is on if its value is "true", in any letter case.
struct Settings {
    Audience audience = Audience::kEverybody;  ///< AUTORESPONDER_ONLY_PEOPLE
    bool verdicts = false;                     ///< AUTORESPONDER_VERDICTS (core/verdict_line.h)
};

/// Loads the configuration and reads the settings from it. They are all off if it cannot be loaded.
Settings read_settings();

}  // namespace autoresponder
