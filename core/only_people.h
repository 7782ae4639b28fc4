#pragma once

#include <string_view>

/// The administrator's choice of whom the responders answer: everybody, loops aside
/// (core/loop_check.h), or only people.

/// Whether only people are answered: the variable AUTORESPONDER_ONLY_PEOPLE of the panel's
/// configuration is "true", in any letter case.
bool answers_only_people();

/// Tells the administrator that the message is not answered, and why: what machine_reason or
/// impersonal_reason said.
void report_not_answered(std::string_view reason);
